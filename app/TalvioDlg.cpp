// Start and stop of the main window, and the messages of the playback library.
#include "app/TalvioDlg.h"

#include "engine/Operate.h"
#include "playlist/ListBox.h"
#include "widgets/ControlsBarWidget.h"
#include "widgets/FloatDlg.h"
#include "widgets/PlayerTitle.h"
#include "widgets/SkinButton.h"

#include <QAction>
#include <QApplication>
#include <QBoxLayout>
#include <QDir>
#include <QGridLayout>
#include <QIcon>
#include <QMutexLocker>
#include <QSplitter>
#include <QTimer>
#include <QTranslator>

#include <chrono>
#include <initializer_list>
#include <new>

namespace {

constexpr QSize kStartSize(750, 480);
constexpr std::chrono::seconds kDiskPatience{3};

} // namespace

CTalvioDlg::CTalvioDlg(QWidget* pParent)
    : QDialog(pParent), m_brushBadFile(Qt::darkRed, Qt::SolidPattern), m_strCapPath(QDir::currentPath()),
      m_strConCapPath(QDir::currentPath()) {
    g_pApp = this;
    m_strConfigPath = QDir::currentPath() + QStringLiteral("/Player.config");
    m_geometryTimer.setSingleShot(true);
    connect(&m_geometryTimer, &QTimer::timeout, this, &CTalvioDlg::CheckGeometry);
    if (!InitMainDlg()) return;

    setAcceptDrops(true);
    setMouseTracking(true);
    resize(kStartSize);
    FitOnScreen();
    setWindowFlags(Qt::FramelessWindowHint);
    setWindowIcon(QIcon(QStringLiteral(":/Resources/Talvio.ico")));
    setWindowTitle(QStringLiteral("Talvio"));
    setFocusPolicy(Qt::NoFocus);
    SetState();
}

CTalvioDlg::~CTalvioDlg() {
    WriteIntoConfigFile(m_strConfigPath);
    // The library must neither call a window that is going nor draw into it. Stopping is what ends both.
    m_bConCap = false;
    m_bEnding = true;
    if (m_pOperate != nullptr) {
        m_pOperate->Stop();
        // What a disk that hangs has not taken by then is lost; nobody waits for ever for a program to end.
        m_pOperate->FinishCaptures(kDiskPatience);
    }
    if (g_pApp == this) g_pApp = nullptr;

    delete m_pTranslator;
    delete m_pQtTranslator;
    DeleteActions();
    DropUnplaced();
    if (m_pTimer != nullptr && m_pTimer->isActive()) m_pTimer->stop();
    // The list is destroyed after this object's members.
    if (m_pListBox != nullptr) m_pListBox->model()->disconnect(this);
}

// What a building that was cut short has left without a parent. A layout that is placed belongs to a widget
// or to another layout.
void CTalvioDlg::DropUnplaced() {
    for (QObject* pPart :
         std::initializer_list<QObject*>{m_pMainLayout, m_pControlsLayout, m_pCentreLayout, m_pViewLayout,
                                         m_pFloatLayout, m_pListLayout, m_pSplitter, m_pFloatDlg}) {
        if (pPart != nullptr && pPart->parent() == nullptr) delete pPart;
    }
}

bool CTalvioDlg::InitMainDlg() {
    if ((m_pTimer = new (std::nothrow) QTimer(this)) == nullptr) return false;
    m_pTimer->setTimerType(Qt::PreciseTimer); // a coarse one may take a twentieth longer
    if ((m_pOperate = new (std::nothrow) COperate) == nullptr) return false;
    if ((m_pTranslator = new (std::nothrow) QTranslator(this)) == nullptr) return false;
    if ((m_pQtTranslator = new (std::nothrow) QTranslator(this)) == nullptr) return false;
    if ((m_pTitleBar = new (std::nothrow) CPlayerTitle(this)) == nullptr) return false;
    if ((m_pControlsBar = new (std::nothrow) CControlsBarWidget(this)) == nullptr) return false;
    if ((m_pControlsLayout = new (std::nothrow) QHBoxLayout) == nullptr) return false;
    if ((m_pMainLayout = new (std::nothrow) QVBoxLayout) == nullptr) return false;

    // One of the six is enough to go on: the window then shows what there is.
    bool bAny = CreateViewLayout();
    bAny = CreateActions() || bAny;
    bAny = CreateFileMenu() || bAny;
    bAny = CreateTopMenu() || bAny;
    bAny = CreateFileListMenu() || bAny;
    bAny = CreateToolBoxMenu() || bAny;
    ReadFromConfigFile(m_strConfigPath);
    if (!bAny) return false;

    QCoreApplication::installTranslator(m_pTranslator);
    QCoreApplication::installTranslator(m_pQtTranslator);
    LayOutWindow();

    SetBitMaps();
    ReTranslateUiText();
    InitMainWinSize();
    SetAllShortCut();
    CheckDefaultActions();
    if (m_pControlsBar->m_pBackBtn != nullptr) m_pControlsBar->m_pBackBtn->setEnabled(false);
    if (m_pFloatDlg != nullptr) m_pFloatDlg->hide();
    CreateSignals();
    return true;
}

void CTalvioDlg::CheckDefaultActions() {
    if (m_pActEnglish != nullptr) m_pActEnglish->setChecked(true);
    if (m_pActSinglePlay != nullptr) m_pActSinglePlay->setChecked(true);
    if (m_pActNever != nullptr) m_pActNever->setChecked(true);
}

bool CTalvioDlg::Exit() {
    close();
    return true;
}

void CTalvioDlg::SendMsg(int nCode) {
    if (nCode == kEncodingChanged) {
        emit EncChangeMsg();
    } else if (nCode == kFileEnded) {
        {
            const QMutexLocker lock(&m_endedLock);
            m_lstEnded.append(m_nOpening);
        }
        emit FileEndMsg();
    }
}

void CTalvioDlg::ConCapPic() {
    if (m_pOperate == nullptr || !m_bConCap) return;
    const int nState = m_pOperate->GetCurrentState();
    if (nState == COperate::kNoFile || nState == COperate::kStopped) return;

    QByteArray path;
    {
        const QMutexLocker lock(&m_conCapLock);
        path = PathBytes(m_strConCapPath);
    }
    if (m_pOperate->CapPic(m_nConCapType, path.data())) return;
    // A capture that a stop or close cut short is no failure; of several failing ones only the first is told.
    if (!m_bEnding && m_bConCap.exchange(false)) emit SendErrorMsg();
}

// The capture that failed was taken for done: it may be one of many, or one whose capturing has been ended.
void CTalvioDlg::CaptureFailed() {
    m_bConCap = false;
    emit SendErrorMsg();
}
