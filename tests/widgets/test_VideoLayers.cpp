// What lies over the video is visible above a picture that another X connection draws, on a real X server.

#include "tests/support/ChildProcess.h"
#include "widgets/FloatDlg.h"
#include "widgets/PlayStatusWidget.h"
#include "widgets/VideoWidget.h"
#include "widgets/ViewContainer.h"

#include <QApplication>
#include <QGridLayout>
#include <QScreen>
#include <QTest>

#include <xcb/xcb.h>

#include <cstdlib>
#include <memory>

namespace {
// A picture drawn as the playback library draws it: on a connection of its own, into a child window of its
// own that fills the given one. Here all of one colour.
class CForeignPicture {
  public:
    CForeignPicture(WId idWindow, const QSize& szWindow) : m_pConnection(xcb_connect(nullptr, nullptr)) {
        const xcb_screen_t* pScreen = xcb_setup_roots_iterator(xcb_get_setup(m_pConnection)).data;
        m_idWindow = xcb_generate_id(m_pConnection);
        const uint32_t unColour = 0xFF00FF;
        xcb_create_window(m_pConnection, XCB_COPY_FROM_PARENT, m_idWindow,
                          static_cast<xcb_window_t>(idWindow), 0, 0, static_cast<uint16_t>(szWindow.width()),
                          static_cast<uint16_t>(szWindow.height()), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                          pScreen->root_visual, XCB_CW_BACK_PIXEL, &unColour);
        xcb_map_window(m_pConnection, m_idWindow);
        Sync();
    }
    ~CForeignPicture() { xcb_disconnect(m_pConnection); }
    CForeignPicture(const CForeignPicture&) = delete;
    CForeignPicture& operator=(const CForeignPicture&) = delete;

    void Sync() {
        free(xcb_get_input_focus_reply(m_pConnection, xcb_get_input_focus(m_pConnection), nullptr));
    }

  private:
    xcb_connection_t* m_pConnection;
    xcb_window_t m_idWindow = 0;
};

const QColor g_colPicture(0xFF, 0, 0xFF);
const QColor g_colIdle("#141517");
const QColor g_colStrip("#1B1D20");
const QColor g_colPanel("#26282C");
} // namespace

class VideoLayersTest : public QObject {
    Q_OBJECT

  private slots:
    void init() {
        // As the main window lays them out: the panel is made first and without a parent.
        m_pPanel = new CFloatDlg(nullptr);
        m_pWindow = std::make_unique<QWidget>();
        m_pWindow->setGeometry(100, 100, 640, 400);
        auto* pContainer = new CViewContainer(m_pWindow.get());
        m_pSurface = new CViewWidget(pContainer);
        m_pStrip = new CPlayStatusWidget(pContainer);
        m_pSurface->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
        m_pPanel->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
        auto* pGrid = new QGridLayout;
        pGrid->setContentsMargins(0, 0, 0, 0);
        pGrid->setSpacing(0);
        auto* pColumn = new QVBoxLayout;
        pColumn->setContentsMargins(0, 0, 0, 0);
        pColumn->addWidget(m_pPanel);
        pColumn->addStretch();
        pGrid->addLayout(pColumn, 0, 0, 1, 4);
        pGrid->addWidget(m_pSurface, 0, 0, 4, 4);
        pGrid->addWidget(m_pStrip, 3, 0, 1, 4, Qt::AlignBottom);
        pContainer->setLayout(pGrid);
        auto* pOuter = new QVBoxLayout(m_pWindow.get());
        pOuter->setContentsMargins(0, 0, 0, 0);
        pOuter->addWidget(pContainer);
        m_pPanel->hide();
        m_pWindow->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_pWindow.get()));
        QTRY_COMPARE(At(320, 30), g_colIdle);
    }
    void cleanup() { m_pWindow.reset(); }

    void onlyWhatOverlapsTheVideoHasAWindowOfItsOwn() {
        QVERIFY(m_pSurface->internalWinId());
        QVERIFY(m_pStrip->internalWinId());
        QVERIFY(!m_pSurface->parentWidget()->internalWinId());
    }

    void theStatusStripIsVisibleAboveThePicture() {
        CForeignPicture picture(m_pSurface->winId(), m_pSurface->size());
        m_pSurface->SetStatus(false, false, true);
        QTRY_COMPARE(At(320, 100), g_colPicture);
        QTRY_COMPARE(At(200, 395), g_colStrip);
        QCOMPARE(At(320, 400 - 21), g_colPicture); // and the picture fills everything above it
        QCOMPARE(At(0, 0), g_colPicture);
        QCOMPARE(At(639, 0), g_colPicture);
    }

    void theFloatingPanelIsVisibleAboveThePictureWhileShown() {
        CForeignPicture picture(m_pSurface->winId(), m_pSurface->size());
        m_pSurface->SetStatus(false, false, true);
        QTRY_COMPARE(At(320, 10), g_colPicture);
        m_pPanel->show();
        QTRY_COMPARE(At(320, 10), g_colPanel);
        QCOMPARE(At(320, 21), g_colPicture);
        m_pPanel->hide();
        QTRY_COMPARE(At(320, 10), g_colPicture);
    }

    void repaintingTheWindowNeverCoversThePicture() {
        CForeignPicture picture(m_pSurface->winId(), m_pSurface->size());
        m_pSurface->SetStatus(false, false, true);
        QTRY_COMPARE(At(320, 100), g_colPicture);
        m_pWindow->repaint();
        m_pSurface->parentWidget()->repaint();
        m_pStrip->repaint();
        picture.Sync();
        QCOMPARE(At(320, 100), g_colPicture);
        QCOMPARE(At(5, 300), g_colPicture);
    }

    void whenThePictureGoesTheIdleGroundIsBack() {
        {
            CForeignPicture picture(m_pSurface->winId(), m_pSurface->size());
            m_pSurface->SetStatus(false, false, true);
            QTRY_COMPARE(At(320, 100), g_colPicture);
        }
        m_pSurface->SetStatus(false, true, false);
        QTRY_COMPARE(At(320, 100), g_colIdle);
        QTRY_COMPARE(At(320, 200), g_colIdle);
        QTRY_COMPARE(At(639, 0), g_colIdle);
    }

  private:
    // The colour on the screen at a place of the window.
    QColor At(int nX, int nY) {
        const QPoint pos = m_pWindow->mapToGlobal(QPoint(nX, nY));
        const QImage image =
            QGuiApplication::primaryScreen()->grabWindow(0, pos.x(), pos.y(), 1, 1).toImage();
        return image.isNull() ? QColor() : image.pixelColor(0, 0);
    }

    std::unique_ptr<QWidget> m_pWindow;
    CFloatDlg* m_pPanel = nullptr;
    CViewWidget* m_pSurface = nullptr;
    CPlayStatusWidget* m_pStrip = nullptr;
};

int main(int argc, char** argv) {
    auto server = support::ChildProcess::Start({"Xvfb", "-displayfd", "1", "-screen", "0", "1280x1024x24",
                                                "+extension", "RANDR", "-nolisten", "tcp"});
    std::optional<std::string> strDisplay;
    // The server may say other things before it names its display.
    while ((strDisplay = server.ReadLine(std::chrono::seconds(20)))) {
        if (strDisplay->find_first_not_of("0123456789") == std::string::npos && !strDisplay->empty()) break;
    }
    if (!strDisplay) {
        qCritical("no X server: %s", server.Output().c_str());
        return 1;
    }
    qputenv("DISPLAY", QByteArray::fromStdString(":" + *strDisplay));
    qputenv("QT_QPA_PLATFORM", "xcb");
    qunsetenv("QT_SCALE_FACTOR");

    QApplication application(argc, argv);
    VideoLayersTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "test_VideoLayers.moc"
