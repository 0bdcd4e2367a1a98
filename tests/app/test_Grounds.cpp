// Which image is drawn where, in a skin of the test's own: every image has a colour of its own, where the
// program's look alike.
#include "playlist/ListTitleBarWidget.h"
#include "tests/app/DlgTest.h"
#include "tests/support/ChildProcess.h"
#include "widgets/ControlsBarWidget.h"
#include "widgets/FloatDlg.h"
#include "widgets/PlayerTitle.h"
#include "widgets/PlayStatusWidget.h"
#include "widgets/SkinButton.h"
#include "widgets/StaticTitle.h"
#include "widgets/VideoWidget.h"

#include <QDir>
#include <QImage>
#include <QPainter>
#include <QResource>
#include <QTemporaryDir>
#include <QTest>

namespace {

const QStringList kNames = {"bitmap12",          "bitmap121",      "toolbar",
                            "frame-toolbar",     "status-bar",     "title-up-left",
                            "title-up-mid",      "title-up-right", "logo",
                            "background",        "close",          "close-hover",
                            "close-sel",         "playlist-close", "playlist-close-hover",
                            "playlist-close-sel"};

QColor Colour(const QString& strName) {
    const int nIndex = static_cast<int>(kNames.indexOf(strName));
    if (nIndex < 0) qFatal("no such image: %s", qPrintable(strName));
    return {10 + 15 * nIndex, 250 - 15 * nIndex, 40 + 100 * (nIndex % 3)};
}

// What the widget itself paints, on magenta, without its children.
QImage Painted(QWidget* pWidget) {
    QImage image(pWidget->size(), QImage::Format_RGB32);
    image.fill(Qt::magenta);
    pWidget->render(&image, QPoint(), QRegion(), QWidget::RenderFlags());
    return image;
}

// The places where they differ; empty when they are the same.
QRect Difference(const QImage& shown, const QImage& wanted) {
    QRect rc;
    for (int y = 0; y < wanted.height(); ++y) {
        for (int x = 0; x < wanted.width(); ++x) {
            if (shown.pixel(x, y) != wanted.pixel(x, y)) rc |= QRect(x, y, 1, 1);
        }
    }
    return rc;
}

} // namespace

class CGroundsTest : public QObject {
    Q_OBJECT

  private slots:
    void initTestCase() {
        QVERIFY(m_dir.isValid());
        QByteArray list = "<RCC><qresource prefix=\"/Resources\">";
        for (const QString& strName : kNames) {
            QImage image(16, 16, QImage::Format_RGB888);
            image.fill(Colour(strName));
            QVERIFY(image.save(m_dir.filePath(strName + ".bmp")));
            list += "<file>" + strName.toUtf8() + ".bmp</file>";
        }
        QFile file(m_dir.filePath("skin.qrc"));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(list + "</qresource></RCC>");
        file.close();
        const QString strBinary = m_dir.filePath("skin.rcc");
        // Not QProcess: its child shares this memory, and takes the thread sanitizer along into its fork.
        const auto made = support::ChildProcess::Run(
            {TALVIO_RCC, "--binary", "--output", strBinary.toStdString(), file.fileName().toStdString()},
            std::chrono::seconds(30));
        QVERIFY2(made.exitCode == 0, made.output.c_str());
        QVERIFY(QResource::registerResource(strBinary));
    }
    void init() {
        m_pTest = std::make_unique<CDlgTest>();
        m_pTest->Dlg().show();
        QVERIFY(QTest::qWaitForWindowExposed(&m_pTest->Dlg()));
    }
    void cleanup() { m_pTest.reset(); }

    void TheWindowsGroundAndFrame_data() {
        QTest::addColumn<QSize>("size");
        QTest::newRow("at first") << QSize(750, 480);
        QTest::newRow("smallest") << QSize(530, 355);
        QTest::newRow("odd") << QSize(801, 601);
    }
    void TheWindowsGroundAndFrame() {
        QFETCH(QSize, size);
        m_pTest->Dlg().resize(size);
        const int w = size.width();
        const int h = size.height();
        const QImage shown = Painted(&m_pTest->Dlg());
        QCOMPARE(shown.size(), size);
        QCOMPARE(Difference(shown, Drawn(size, {{"bitmap12", {0, 0, w, h}},
                                                {"toolbar", {0, 31, 4, h - 31}},
                                                {"toolbar", {w - 4, 31, 4, h - 31}},
                                                {"frame-toolbar", {4, h - 4, w - 8, 4}}})),
                 QRect());
    }

    void TheTitleBarsPieces() {
        auto* pTitle = m_pTest->Find<CPlayerTitle>();
        const QSize size(750, 31);
        QCOMPARE(pTitle->size(), size);
        pTitle->SetShowFilePath(QString());
        // Under the logo one row is left to the window's ground.
        QCOMPARE(Difference(Painted(pTitle), Drawn(size, {{"title-up-left", {0, 0, 4, 31}},
                                                          {"logo", {4, 0, 95, 30}},
                                                          {"title-up-mid", {99, 0, 750 - 99 - 4, 31}},
                                                          {"title-up-right", {746, 0, 4, 31}}})),
                 QRect());
    }

    void TheStripsGrounds() {
        auto* pStatus = m_pTest->Find<CPlayStatusWidget>();
        auto* pTitle = m_pTest->Find<CListTitleBar>()->m_pTitle;
        for (CStaticText* pText : {pStatus->m_pLeftText, pStatus->m_pRightText, pTitle})
            pText->SetStaticText(QStringLiteral(""), 0);
        m_pTest->Find<CFloatDlg>()->show();
        const std::pair<QWidget*, const char*> strips[] = {{m_pTest->Find<CControlsBarWidget>(), "toolbar"},
                                                           {pStatus, "status-bar"},
                                                           {pStatus->m_pLeftText, "status-bar"},
                                                           {pStatus->m_pRightText, "status-bar"},
                                                           {m_pTest->Find<CFloatDlg>(), "frame-toolbar"},
                                                           {m_pTest->Find<CListTitleBar>(), "frame-toolbar"},
                                                           {pTitle, "frame-toolbar"}};
        for (const auto& [pStrip, pName] : strips) {
            const QImage wanted = Drawn(pStrip->size(), {{pName, pStrip->rect()}});
            QVERIFY2(Difference(Painted(pStrip), wanted).isNull(), pStrip->metaObject()->className());
        }
    }

    void TheIdlePicture() {
        auto* pView = m_pTest->Find<CViewWidget>();
        const QRect rc = pView->rect();
        const QRect rcLogo(rc.width() / 2 - 200, rc.height() / 2 - 114, 400, 228);
        QCOMPARE(Difference(Painted(pView), Drawn(rc.size(), {{"bitmap121", rc}, {"background", rcLogo}})),
                 QRect());
        pView->SetStatus(false, true, false);
        QCOMPARE(Difference(Painted(pView), Drawn(rc.size(), {{"bitmap121", rc}})), QRect());
        pView->SetStatus(false, false, false);
        QCOMPARE(Difference(Painted(pView), Drawn(rc.size(), {})), QRect());
    }

    void TheTwoCrosses() {
        QCOMPARE(WrongStates(m_pTest->Find<CPlayerTitle>()->m_pCloseBtn, "close"), QString());
        QCOMPARE(WrongStates(m_pTest->Find<CListTitleBar>()->m_pCloseBtn, "playlist-close"), QString());
    }

  private:
    // These images one after the other, on magenta.
    static QImage Drawn(const QSize& size, const QList<std::pair<const char*, QRect>>& lstPieces) {
        QImage image(size, QImage::Format_RGB32);
        image.fill(Qt::magenta);
        QPainter painter(&image);
        for (const auto& [pName, rc] : lstPieces)
            painter.fillRect(rc, Colour(pName));
        return image;
    }

    QTemporaryDir m_dir;
    std::unique_ptr<CDlgTest> m_pTest;
};

QTEST_MAIN(CGroundsTest)
#include "test_Grounds.moc"
