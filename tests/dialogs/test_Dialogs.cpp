// The information boxes: their texts, places and pictures.
#include "dialogs/FileFacts.h"
#include "dialogs/FileInfoDlg.h"
#include "dialogs/HelpDlg.h"

#include <QGroupBox>
#include <QImage>
#include <QLabel>
#include <QTest>
#include <QTranslator>

namespace {

class CFakeWindow : public QWidget, public CFileFacts {
  public:
    bool GetFilePath(QString* pPath) override { return Give(m_strPath, pPath); }
    bool GetFileNameFormPath(QString strPath, QString* pName) override {
        return Give(strPath.mid(strPath.lastIndexOf('/') + 1), pName);
    }
    bool GetDirFromPath(QString strPath, QString* pDir) override {
        return Give(strPath.left(strPath.lastIndexOf('/') + 1), pDir);
    }
    bool GetFileTypeFromFileName(QString strName, QString* pType) override {
        return Give(strName.right(3), pType);
    }
    bool GetResolution(QString* pResolution) override { return Give(m_strResolution, pResolution); }
    bool GetFrameRate(QString* pFrameRate) override { return Give(m_strFrameRate, pFrameRate); }
    bool GetFileTime(QString* pTime) override { return Give(m_strTime, pTime); }
    bool GetFileSize(QString* pSize) override { return Give(m_strSize, pSize); }

    QString m_strPath = "/films/a & <b>b.mp4";
    QString m_strResolution = "1920 x 1080";
    QString m_strFrameRate = "50";
    QString m_strTime = "01:02:05";
    QString m_strSize = "1.00 MB";

  private:
    static bool Give(const QString& strValue, QString* pOut) {
        if (strValue.isEmpty()) return false;
        *pOut = strValue;
        return true;
    }
};

QString TextOf(const QDialog& dlg, const char* pName) {
    const auto* pLabel = dlg.findChild<QLabel*>(pName);
    return pLabel != nullptr ? pLabel->text() : QString("(none)");
}

} // namespace

class TestDialogs : public QObject {
    Q_OBJECT

  private slots:
    void TheFileInformationShowsTheFacts() {
        CFakeWindow window;
        const CFileInfoDlg dlg(&window);
        QCOMPARE(dlg.windowTitle(), QString("File Information"));
        QCOMPARE(TextOf(dlg, "object1"), QString("File Name:"));
        QCOMPARE(TextOf(dlg, "label"), QString("a & <b>b.mp4"));
        QCOMPARE(TextOf(dlg, "label_2"), QString("File Type:"));
        QCOMPARE(TextOf(dlg, "label_3"), QString("mp4"));
        QCOMPARE(TextOf(dlg, "label_4"), QString("Resolution:"));
        QCOMPARE(TextOf(dlg, "label_5"), QString("1920 x 1080"));
        QCOMPARE(TextOf(dlg, "label_6"), QString("Time:"));
        QCOMPARE(TextOf(dlg, "label_7"), QString("01:02:05"));
        QCOMPARE(TextOf(dlg, "label_8"), QString("FrameRate:"));
        QCOMPARE(TextOf(dlg, "label_9"), QString("50"));
        QCOMPARE(TextOf(dlg, "label_10"), QString("File Size:"));
        QCOMPARE(TextOf(dlg, "label_12"), QString("1.00 MB"));
        QCOMPARE(TextOf(dlg, "label_11"), QString("File Path:"));
        QCOMPARE(TextOf(dlg, "label_13"), QString("/films/"));
        // What a file is called is no markup.
        QCOMPARE(dlg.findChild<QLabel*>("label")->textFormat(), Qt::PlainText);
        QCOMPARE(dlg.findChild<QLabel*>("label_13")->textFormat(), Qt::PlainText);
    }

    void TheFileInformationIsLaidOutInThreeBoxes_data() {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("parent");
        QTest::addColumn<QRect>("place");
        const auto row = [](const char* pName, const char* pParent, const QRect& rc) {
            QTest::newRow(pName) << QString(pName) << QString(pParent) << rc;
        };
        row("groupBox", "Form", {0, 0, 430, 61});
        row("object1", "groupBox", {10, 20, 90, 20});
        row("label", "groupBox", {90, 20, 321, 16});
        row("groupBox_2", "Form", {0, 60, 430, 140});
        row("label_2", "groupBox_2", {10, 30, 80, 16});
        row("label_3", "groupBox_2", {80, 30, 60, 16});
        row("label_4", "groupBox_2", {200, 30, 90, 16});
        row("label_5", "groupBox_2", {280, 30, 140, 16});
        row("label_6", "groupBox_2", {10, 90, 80, 16});
        row("label_7", "groupBox_2", {80, 90, 75, 16});
        row("label_8", "groupBox_2", {200, 90, 95, 16});
        row("label_9", "groupBox_2", {290, 90, 151, 16});
        row("groupBox_3", "Form", {0, 199, 430, 101});
        row("label_10", "groupBox_3", {20, 20, 80, 16});
        row("label_11", "groupBox_3", {20, 70, 80, 16});
        row("label_12", "groupBox_3", {90, 20, 311, 16});
        row("label_13", "groupBox_3", {90, 70, 331, 16});
    }
    void TheFileInformationIsLaidOutInThreeBoxes() {
        QFETCH(QString, name);
        QFETCH(QString, parent);
        QFETCH(QRect, place);
        CFakeWindow window;
        const CFileInfoDlg dlg(&window);
        const auto* pWidget = dlg.findChild<QWidget*>(name);
        QVERIFY(pWidget != nullptr);
        QCOMPARE(pWidget->geometry(), place);
        QCOMPARE(pWidget->parentWidget()->objectName(), parent);
    }

    void TheFileInformationHasItsSizeAndColours() {
        CFakeWindow window;
        const CFileInfoDlg dlg(&window);
        QCOMPARE(dlg.objectName(), QString("Form"));
        QCOMPARE(dlg.size(), QSize(430, 300));
        QCOMPARE(dlg.styleSheet(), QString("background-color: rgb(245, 255, 235);"));
        for (const char* pName : {"groupBox", "groupBox_2", "groupBox_3"})
            QCOMPARE(dlg.findChild<QGroupBox*>(pName)->styleSheet(),
                     QString("background-color: rgb(203, 255, 241);"));
    }

    void LongNamesAndFoldersAreShortened_data() {
        QTest::addColumn<int>("length");
        QTest::addColumn<QString>("shown");
        QTest::newRow("39") << 39 << QString(39, 'x');
        QTest::newRow("40") << 40 << QString(40, 'x') + "...";
        QTest::newRow("41") << 41 << QString(40, 'x') + "...";
    }
    void LongNamesAndFoldersAreShortened() {
        QFETCH(int, length);
        QFETCH(QString, shown);
        CFakeWindow window;
        window.m_strPath = "/" + QString(length, 'x');
        QCOMPARE(TextOf(CFileInfoDlg(&window), "label"), shown);
        window.m_strPath = QString(length - 1, 'x') + "/a.264";
        QCOMPARE(TextOf(CFileInfoDlg(&window), "label_13").size(), shown.size());
        QCOMPARE(TextOf(CFileInfoDlg(&window), "label_13").endsWith("..."), length >= 40);
    }

    void WithoutAFileOrAFacadeWhatIsMissingIsEmptyAndTheFrameRate25() {
        CFakeWindow window;
        window.m_strPath.clear();
        window.m_strResolution.clear();
        window.m_strFrameRate.clear();
        window.m_strTime.clear();
        window.m_strSize.clear();
        const CFileInfoDlg dlg(&window);
        for (const char* pName : {"label", "label_3", "label_5", "label_7", "label_12", "label_13"})
            QCOMPARE(TextOf(dlg, pName), QString());
        QCOMPARE(TextOf(dlg, "label_9"), QString("25"));
    }

    void WithoutAWindowTheFileInformationIsEmpty() {
        QCOMPARE(TextOf(CFileInfoDlg(nullptr), "label_9"), QString());
    }

    void TheFileInformationFollowsTheLanguageItIsBuiltIn() {
        QTranslator translator;
        QVERIFY(translator.load(":/talvio_zh.qm"));
        QCoreApplication::installTranslator(&translator);
        CFakeWindow window;
        const CFileInfoDlg dlg(&window);
        QCoreApplication::removeTranslator(&translator);
        QCOMPARE(dlg.windowTitle(), QString::fromUtf8("文件信息"));
        QCOMPARE(TextOf(dlg, "object1"), QString::fromUtf8("文件名字:"));
        QCOMPARE(TextOf(dlg, "label_6"), QString::fromUtf8("时长:"));
    }

    void TheAboutBoxNamesTheProgramAndTheLibrary() {
        CHelpDlg dlg(nullptr);
        const QList<QLabel*> lstLabels = dlg.findChildren<QLabel*>();
        QCOMPARE(lstLabels.size(), 2);
        QCOMPARE(lstLabels[0]->text(), QString("Talvio, V1.0"));
        QCOMPARE(lstLabels[0]->geometry(), QRect(110, 40, 141, 16));
        QCOMPARE(lstLabels[1]->text(), QString("libDravo.so, 7.0.0.6"));
        QCOMPARE(lstLabels[1]->geometry(), QRect(110, 70, 141, 16));
        QCOMPARE(dlg.windowTitle(), QString());
    }

    void TheAboutBoxCannotBeResized() {
        CHelpDlg dlg(nullptr);
        dlg.resize(600, 400);
        QCOMPARE(dlg.size(), QSize(310, 124));
        QCOMPARE(dlg.minimumSize(), dlg.maximumSize());
    }

    void TheAboutBoxShowsTheLogoInItsPlace() {
        CHelpDlg dlg(nullptr);
        const QImage imgShown = dlg.grab().toImage();
        const QRgb rgbGround = imgShown.pixel(5, 5);
        QRect rcDrawn;
        for (int y = 0; y < 124; ++y) {
            for (int x = 0; x < 105; ++x) {
                if (imgShown.pixel(x, y) != rgbGround) rcDrawn |= QRect(x, y, 1, 1);
            }
        }
        QVERIFY(!rcDrawn.isEmpty());
        QVERIFY2(QRect(60, 50, 26, 21).contains(rcDrawn), "the logo leaves its place");
        QVERIFY(rcDrawn.width() > 13 && rcDrawn.height() > 10);
    }
};

QTEST_MAIN(TestDialogs)
#include "test_Dialogs.moc"
