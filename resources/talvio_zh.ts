<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="zh_CN" sourcelanguage="en">
<!-- Loaded with this one, from the program itself, wherever this one lies. -->
<dependencies>
    <dependency catalog=":/talvio_names_zh"/>
</dependencies>
<context>
    <name>CFileInfoDlg</name>
    <message>
        <source>File Information</source>
        <translation>文件信息</translation>
    </message>
    <message>
        <source>File Name:</source>
        <translation>文件名字:</translation>
    </message>
    <message>
        <source>File Path:</source>
        <translation>文件路径:</translation>
    </message>
    <message>
        <source>File Size:</source>
        <translation>文件大小:</translation>
    </message>
    <message>
        <source>File Type:</source>
        <translation>文件类型:</translation>
    </message>
    <message>
        <source>FrameRate:</source>
        <translation>帧率:</translation>
    </message>
    <message>
        <source>Resolution:</source>
        <translation>分辨率:</translation>
    </message>
    <message>
        <source>Time:</source>
        <translation>时长:</translation>
    </message>
</context>
<context>
    <name>CPlayerSetting</name>
    <message>
        <source>1</source>
        <translation>1</translation>
    </message>
    <message>
        <source>Basic</source>
        <translation>基本设置</translation>
    </message>
    <message>
        <source>Browse</source>
        <translation>浏览</translation>
    </message>
    <message>
        <source>C</source>
        <translation>C</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>取消</translation>
    </message>
    <message>
        <source>Cappic</source>
        <translation>抓图</translation>
    </message>
    <message>
        <source>Check High Quality DisPlay</source>
        <translation>高质量显示</translation>
    </message>
    <message>
        <source>Chromaticity</source>
        <translation>对比度</translation>
    </message>
    <message>
        <source>Close File</source>
        <translation>关闭文件</translation>
    </message>
    <message>
        <source>Color Adjust</source>
        <translation>色彩调节</translation>
    </message>
    <message>
        <source>Combination Key</source>
        <translation>组合键</translation>
    </message>
    <message>
        <source>Constrast</source>
        <translation>饱和度</translation>
    </message>
    <message>
        <source>Continue Cappic</source>
        <translation>连续抓图</translation>
    </message>
    <message>
        <source>Control Command</source>
        <translation>控制命令</translation>
    </message>
    <message>
        <source>Ctrl</source>
        <translation>Ctrl</translation>
    </message>
    <message>
        <source>Decrease Speed</source>
        <translation>减速</translation>
    </message>
    <message>
        <source>Deflash</source>
        <translation>去闪烁</translation>
    </message>
    <message>
        <source>Don&apos;t Throw</source>
        <translation>不丢帧</translation>
    </message>
    <message>
        <source>Double Click LeftKey</source>
        <translation>双击左键</translation>
    </message>
    <message>
        <source>Down</source>
        <translation>下</translation>
    </message>
    <message>
        <source>Effect Priority</source>
        <translation>效果优先</translation>
    </message>
    <message>
        <source>Efficiency Priority</source>
        <translation>效率优先</translation>
    </message>
    <message>
        <source>Frame Backward</source>
        <translation>单帧后退</translation>
    </message>
    <message>
        <source>Frame Forward</source>
        <translation>单帧前进</translation>
    </message>
    <message>
        <source>Frame Locate</source>
        <translation>按帧定位</translation>
    </message>
    <message>
        <source>General Settings</source>
        <translation>常规设置</translation>
    </message>
    <message>
        <source>Go to End</source>
        <translation>跳到结尾</translation>
    </message>
    <message>
        <source>Go to Start</source>
        <translation>跳到开头</translation>
    </message>
    <message>
        <source>High Precision</source>
        <translation>高精度</translation>
    </message>
    <message>
        <source>Hot Key</source>
        <translation>操作说明</translation>
    </message>
    <message>
        <source>Hot Keys</source>
        <translation>快捷键</translation>
    </message>
    <message>
        <source>Hotkey/Mouse</source>
        <translation>快捷键/鼠标</translation>
    </message>
    <message>
        <source>Hue</source>
        <translation>色调</translation>
    </message>
    <message>
        <source>Image Control</source>
        <translation>图像控制</translation>
    </message>
    <message>
        <source>Increase Speed</source>
        <translation>加速</translation>
    </message>
    <message>
        <source>Left</source>
        <translation>左</translation>
    </message>
    <message>
        <source>Lightness</source>
        <translation>亮度</translation>
    </message>
    <message>
        <source>Locate</source>
        <translation>影片跳转</translation>
    </message>
    <message>
        <source>Low Precision</source>
        <translation>低精度</translation>
    </message>
    <message>
        <source>Low Resolution</source>
        <translation>低分辨率</translation>
    </message>
    <message>
        <source>Mouse HotKey</source>
        <translation>鼠标操作</translation>
    </message>
    <message>
        <source>Nomal/Full Screen</source>
        <translation>正常/全屏</translation>
    </message>
    <message>
        <source>Normal Resolution</source>
        <translation>正常分辨率</translation>
    </message>
    <message>
        <source>O</source>
        <translation>O</translation>
    </message>
    <message>
        <source>OK</source>
        <translation>确定</translation>
    </message>
    <message>
        <source>Open Diectory</source>
        <translation>打开目录</translation>
    </message>
    <message>
        <source>Open File</source>
        <translation>打开文件</translation>
    </message>
    <message>
        <source>Open File Error</source>
        <translation>打开文件失败</translation>
    </message>
    <message>
        <source>Option</source>
        <translation>选项</translation>
    </message>
    <message>
        <source>Picture Settings</source>
        <translation>图像设置</translation>
    </message>
    <message>
        <source>Play Optimization</source>
        <translation>播放优化</translation>
    </message>
    <message>
        <source>Play Settings</source>
        <translation>播放设置</translation>
    </message>
    <message>
        <source>Play Speed</source>
        <translation>播放速度</translation>
    </message>
    <message>
        <source>Play/Pause</source>
        <translation>播放/暂停</translation>
    </message>
    <message>
        <source>Player Settings</source>
        <translation>播放器设置</translation>
    </message>
    <message>
        <source>Player Timer</source>
        <translation>播放定时器</translation>
    </message>
    <message>
        <source>Reset</source>
        <translation>重置</translation>
    </message>
    <message>
        <source>Right</source>
        <translation>右</translation>
    </message>
    <message>
        <source>S</source>
        <translation>S</translation>
    </message>
    <message>
        <source>Save Path:</source>
        <translation>保存路径:</translation>
    </message>
    <message>
        <source>Save Type:</source>
        <translation>保存类型:</translation>
    </message>
    <message>
        <source>Space</source>
        <translation>空格</translation>
    </message>
    <message>
        <source>Stop</source>
        <translation>停止</translation>
    </message>
    <message>
        <source>The Time must not null</source>
        <translation>时间不能为空</translation>
    </message>
    <message>
        <source>The frame number is Invalid</source>
        <translation>帧号无效</translation>
    </message>
    <message>
        <source>The frame number must not null</source>
        <translation>帧号不能为空</translation>
    </message>
    <message>
        <source>The value is Invalid</source>
        <translation>输入值无效</translation>
    </message>
    <message>
        <source>Throw 1</source>
        <translation>丢1帧</translation>
    </message>
    <message>
        <source>Throw 2</source>
        <translation>丢2帧</translation>
    </message>
    <message>
        <source>Throw B-Frame</source>
        <translation>丢B帧</translation>
    </message>
    <message>
        <source>Time Locate</source>
        <translation>按时间定位</translation>
    </message>
    <message>
        <source>Tool Settings</source>
        <translation>工具设置</translation>
    </message>
    <message>
        <source>Up</source>
        <translation>上</translation>
    </message>
    <message>
        <source>Video Locate</source>
        <translation>影片跳转</translation>
    </message>
    <message>
        <source>Volume Decrease</source>
        <translation>减小音量</translation>
    </message>
    <message>
        <source>Volume Increase</source>
        <translation>增大音量</translation>
    </message>
    <message>
        <source>Warning</source>
        <translation>警告</translation>
    </message>
    <message>
        <source>X16</source>
        <translation>X16</translation>
    </message>
    <message>
        <source>X2</source>
        <translation>X2</translation>
    </message>
    <message>
        <source>X4</source>
        <translation>X4</translation>
    </message>
    <message>
        <source>X8</source>
        <translation>X8</translation>
    </message>
    <message>
        <source>warning!</source>
        <translation>警告！</translation>
    </message>
</context>
<context>
    <name>CTalvioDlg</name>
    <message>
        <source>2 Times Size</source>
        <translation>两倍大小</translation>
    </message>
    <message>
        <source>ALL File (*.*);;Media File (*.mp4 *.264)</source>
        <translation>所有文件 (*.*);;Brek文件 (*.mp4 *.264)</translation>
    </message>
    <message>
        <source>About</source>
        <translation>关于</translation>
    </message>
    <message>
        <source>Add File</source>
        <translation>添加文件到列表</translation>
    </message>
    <message>
        <source>Add File to Playlist</source>
        <translation>添加文件到列表</translation>
    </message>
    <message>
        <source>Always</source>
        <translation>始终置顶</translation>
    </message>
    <message>
        <source>Always Top</source>
        <translation>始终置顶</translation>
    </message>
    <message>
        <source>Apply Memory Failed</source>
        <translation>申请内存失败</translation>
    </message>
    <message>
        <source>Cancel BackPlay</source>
        <translation>取消倒放</translation>
    </message>
    <message>
        <source>Cap Picture Success</source>
        <translation>抓图成功</translation>
    </message>
    <message>
        <source>Cappic</source>
        <translation>抓图</translation>
    </message>
    <message>
        <source>Cappic Error !</source>
        <translation>抓图失败！</translation>
    </message>
    <message>
        <source>Chinese</source>
        <translation>中文</translation>
    </message>
    <message>
        <source>Clear up the Playlist</source>
        <translation>清空播放列表</translation>
    </message>
    <message>
        <source>Close File</source>
        <translation>关闭文件</translation>
    </message>
    <message>
        <source>Close PlayList</source>
        <translation>关闭播放列表</translation>
    </message>
    <message>
        <source>Color Adjust</source>
        <translation>色彩调节</translation>
    </message>
    <message>
        <source>Continue Cappic</source>
        <translation>连续抓图</translation>
    </message>
    <message>
        <source>Convert Fail!</source>
        <translation>转换失败！</translation>
    </message>
    <message>
        <source>Create Convert Handle Fail!</source>
        <translation>创建转换句柄失败！</translation>
    </message>
    <message>
        <source>Ctrl+C</source>
        <translation>Ctrl+C</translation>
    </message>
    <message>
        <source>Ctrl+O</source>
        <translation>Ctrl+O</translation>
    </message>
    <message>
        <source>Ctrl+S</source>
        <translation>Ctrl+S</translation>
    </message>
    <message>
        <source>Delete the Selected File</source>
        <translation>删除选中文件</translation>
    </message>
    <message>
        <source>Down File</source>
        <translation>下移文件</translation>
    </message>
    <message>
        <source>English</source>
        <translation>英文</translation>
    </message>
    <message>
        <source>Exit</source>
        <translation>退出</translation>
    </message>
    <message>
        <source>Fast</source>
        <translation>快放</translation>
    </message>
    <message>
        <source>File</source>
        <translation>文件</translation>
    </message>
    <message>
        <source>File Information</source>
        <translation>文件信息</translation>
    </message>
    <message>
        <source>Frame Backward</source>
        <translation>单帧后退</translation>
    </message>
    <message>
        <source>Frame Forward</source>
        <translation>单帧前进</translation>
    </message>
    <message>
        <source>Full Screen</source>
        <translation>全屏</translation>
    </message>
    <message>
        <source>Help</source>
        <translation>帮助</translation>
    </message>
    <message>
        <source>HotKey</source>
        <translation>快捷键</translation>
    </message>
    <message>
        <source>Image Control</source>
        <translation>图像控制</translation>
    </message>
    <message>
        <source>Init Fail!</source>
        <translation>初始化失败！</translation>
    </message>
    <message>
        <source>Language</source>
        <translation>语言</translation>
    </message>
    <message>
        <source>Last Frame</source>
        <translation>上一帧</translation>
    </message>
    <message>
        <source>Locate</source>
        <translation>影片跳转</translation>
    </message>
    <message>
        <source>Mute</source>
        <translation>静音 开/关</translation>
    </message>
    <message>
        <source>Never</source>
        <translation>从不置顶</translation>
    </message>
    <message>
        <source>Never Top</source>
        <translation>从不置顶</translation>
    </message>
    <message>
        <source>Next Frame</source>
        <translation>下一帧</translation>
    </message>
    <message>
        <source>Normal Size</source>
        <translation>原始大小</translation>
    </message>
    <message>
        <source>Only Playing</source>
        <translation>播放时置顶</translation>
    </message>
    <message>
        <source>Open File</source>
        <translation>打开文件</translation>
    </message>
    <message>
        <source>Pause</source>
        <translation>暂停</translation>
    </message>
    <message>
        <source>Play</source>
        <translation>播放</translation>
    </message>
    <message>
        <source>Play Control</source>
        <translation>播放控制</translation>
    </message>
    <message>
        <source>Play Mode</source>
        <translation>播放顺序</translation>
    </message>
    <message>
        <source>Play Settings</source>
        <translation>播放设置</translation>
    </message>
    <message>
        <source>Play/Pause</source>
        <translation>播放/暂停</translation>
    </message>
    <message>
        <source>PlayList</source>
        <translation>播放列表</translation>
    </message>
    <message>
        <source>Playing</source>
        <translation>正在播放</translation>
    </message>
    <message>
        <source>Playlist</source>
        <translation>播放列表</translation>
    </message>
    <message>
        <source>Playlist Play</source>
        <translation>顺序播放</translation>
    </message>
    <message>
        <source>Playlist Repeat</source>
        <translation>列表循环</translation>
    </message>
    <message>
        <source>Raise File</source>
        <translation>上移文件</translation>
    </message>
    <message>
        <source>Ready</source>
        <translation>就绪</translation>
    </message>
    <message>
        <source>Remove File</source>
        <translation>删除选中文件</translation>
    </message>
    <message>
        <source>Select the Play Modes</source>
        <translation>选择播放顺序</translation>
    </message>
    <message>
        <source>Set Para Fail!</source>
        <translation>设置参数失败！</translation>
    </message>
    <message>
        <source>Setting</source>
        <translation>设置</translation>
    </message>
    <message>
        <source>Show/Hide Playlist</source>
        <translation>显示/隐藏播放列表</translation>
    </message>
    <message>
        <source>Single Play</source>
        <translation>单个播放</translation>
    </message>
    <message>
        <source>Single Repeat</source>
        <translation>单个循环</translation>
    </message>
    <message>
        <source>Slow</source>
        <translation>慢放</translation>
    </message>
    <message>
        <source>Sound</source>
        <translation>静音 开/关</translation>
    </message>
    <message>
        <source>Speed * %1</source>
        <translation>速度 * %1</translation>
    </message>
    <message>
        <source>Speed / %1</source>
        <translation>速度 / %1</translation>
    </message>
    <message>
        <source>Speed Down</source>
        <translation>减速</translation>
    </message>
    <message>
        <source>Speed Up</source>
        <translation>加速</translation>
    </message>
    <message>
        <source>Start BackPlay</source>
        <translation>开始倒放</translation>
    </message>
    <message>
        <source>Stop</source>
        <translation>停止</translation>
    </message>
    <message>
        <source>The File Number is the Largest in Playlist</source>
        <translation>文件列表内文件达到最大数</translation>
    </message>
    <message>
        <source>To the End</source>
        <translation>跳到结尾</translation>
    </message>
    <message>
        <source>To the Start</source>
        <translation>跳到开头</translation>
    </message>
    <message>
        <source>Tool Box</source>
        <translation>工具箱</translation>
    </message>
    <message>
        <source>Tools</source>
        <translation>工具</translation>
    </message>
    <message>
        <source>Top Display</source>
        <translation>置顶显示</translation>
    </message>
    <message>
        <source>Top In Playing</source>
        <translation>播放时置顶</translation>
    </message>
    <message>
        <source>Unknowed Media Type!</source>
        <translation>未知的媒体类型！</translation>
    </message>
    <message>
        <source>View</source>
        <translation>查看</translation>
    </message>
    <message>
        <source>Volume Down</source>
        <translation>减小音量</translation>
    </message>
    <message>
        <source>Volume Up</source>
        <translation>增大音量</translation>
    </message>
    <message>
        <source>Warning</source>
        <translation>警告</translation>
    </message>
    <message>
        <source>When Converting,The File Will Stop Playing.
If Continue,Click &apos;Yes&apos;.
</source>
        <translation>在进行AVI转换时,文件停止播放.如果继续，请按&apos;是&apos;.</translation>
    </message>
</context>
</TS>
