// The program: a main window and its event loop. It takes no options and reads no environment of its own.
#include "app/HanFont.h"
#include "app/TalvioDlg.h"
#include "engine/Operate.h"

#include <QApplication>
#include <QTextCodec>

#include <cstring>
#include <malloc.h>
#include <memory>

namespace {

// The picture is drawn by the playback library into a native X window, on a Wayland desktop too. A platform
// that was chosen by its usual means stands.
void SelectPlatform(int nArgs, char** ppArgs) {
    for (int i = 1; i < nArgs; ++i) {
        if (std::strcmp(ppArgs[i], "-platform") == 0 || std::strcmp(ppArgs[i], "--platform") == 0) return;
    }
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "xcb");
}

// Left to itself the allocator raises both limits with what it sees freed, and then the arena of every thread
// keeps up to 64 MB after a film is closed.
void GiveMemoryBack() {
    mallopt(M_MMAP_THRESHOLD, 1 << 20);
    mallopt(M_TRIM_THRESHOLD, 1 << 20);
}

} // namespace

int main(int nArgs, char** ppArgs) {
    GiveMemoryBack();
    SelectPlatform(nArgs, ppArgs);
    // The skin is drawn for any scale, so the screen's own is used as it is.
    QGuiApplication::setHighDpiScaleFactorRoundingPolicy(Qt::HighDpiScaleFactorRoundingPolicy::PassThrough);
    // The file chooser looks and behaves alike on every desktop.
    QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    QApplication app(nArgs, ppArgs);
    PreferSimplifiedHan();
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("GB2312"));

    auto pDlg = std::make_unique<CTalvioDlg>(nullptr);
    // The window leaves the facade behind when it goes: the process ends right after. Kept here it is in
    // reach to the end, which tells a leak checker that nothing was lost. Volatile, as nobody reads it.
    [[maybe_unused]] static COperate* volatile s_pOperate = nullptr;
    s_pOperate = pDlg->GetOperate();
    pDlg->show();
    const int nResult = QApplication::exec();
    pDlg.reset();
    return nResult;
}
