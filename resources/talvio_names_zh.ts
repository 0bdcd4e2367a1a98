<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<!-- Names of widgets that carry no text: for tool tips and screen readers. -->
<TS version="2.1" language="zh_CN" sourcelanguage="en">
<context>
    <name>CPlaySlider</name>
    <message>
        <source>Play Position</source>
        <translation>播放进度</translation>
    </message>
</context>
<context>
    <name>CPlayerTitle</name>
    <message>
        <source>Close</source>
        <translation>关闭</translation>
    </message>
    <message>
        <source>Maximize</source>
        <translation>最大化</translation>
    </message>
    <message>
        <source>Menu</source>
        <translation>菜单</translation>
    </message>
    <message>
        <source>Minimize</source>
        <translation>最小化</translation>
    </message>
    <message>
        <source>Restore</source>
        <translation>还原</translation>
    </message>
</context>
<context>
    <name>CSoundSlider</name>
    <message>
        <source>Volume</source>
        <translation>音量</translation>
    </message>
</context>
</TS>
