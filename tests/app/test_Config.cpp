// The window's settings and their file: what is kept between runs, what is not, and odd values.
#include "playlist/ListBox.h"
#include "tests/app/DlgTest.h"
#include "widgets/SoundSlider.h"

#include <QDir>
#include <QFile>
#include <QTest>

#include <memory>

namespace {

QByteArray FileOf(const QString& strDir, const QByteArray& strValues) {
    const QByteArray bytes = QFile::encodeName(strDir);
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<PlayerSettings>\n    <FilePath></FilePath>\n    "
           "<CappicPath>" +
           bytes + "</CappicPath>\n    <ConCapPath>" + bytes + "</ConCapPath>\n" + strValues +
           "</PlayerSettings>\n";
}

const QByteArray kStartValues = "    <HighQuality>1</HighQuality>\n    <Deflash>1</Deflash>\n"
                                "    <ThrowBNum>0</ThrowBNum>\n    <Timer>1</Timer>\n"
                                "    <DisplayType>1</DisplayType>\n    <CappicType>0</CappicType>\n"
                                "    <ConCapType>0</ConCapType>\n";

QByteArray Contents(const QString& strPath) {
    QFile file(strPath);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

class TestConfig : public QObject {
    Q_OBJECT

  private slots:
    void TheFirstRunLeavesTheStartValuesInTheWorkingDirectory() {
        CDlgTest test;
        const QString strDir = QDir::currentPath();
        QVERIFY(!QFile::exists(test.File("Player.config")));
        test.Close();
        QCOMPARE(Contents(test.File("Player.config")), FileOf(strDir, kStartValues));
    }

    void TenSettingsAreKeptAndTheOthersForgotten() {
        CDlgTest test;
        CTalvioDlg& window = test.Dlg();
        window.SetCapPath("/c & <d>");
        window.SetConCapPath(QString::fromUtf8("/影片"));
        window.SetHighQuality(false);
        window.SetDeflash(false);
        window.SetThrowBNum(-3);
        window.SetPlayerTimer(2);
        window.SetDisplayType(2);
        window.SetCapType(1);
        window.SetConCapType(1);
        window.SetDeinterlaceType(1);
        window.SetSpeed(3);
        window.SetBrightness(1);
        window.SetContrast(2);
        window.SetChromaticity(3);
        window.SetHue(4);
        test.Play();
        QVERIFY(window.AddFile2List("/rec/a.mp4", false));
        QVERIFY(window.SoundDown());
        window.Sound();
        QVERIFY(!window.GetSoundStatus());
        QCOMPARE(test.Playlist().size(), 1);
        test.Close();

        std::unique_ptr<COperate> pOperate; // outlives the window
        CTalvioDlg again(nullptr);          // reads the same file
        pOperate.reset(again.GetOperate());
        QCOMPARE(again.GetCapPath(), QString("/c & <d>"));
        QCOMPARE(again.GetConCapPath(), QString::fromUtf8("/影片"));
        QVERIFY(!again.GetHighQuality());
        QVERIFY(!again.GetDeflash());
        QCOMPARE(again.GetThrowBNum(), -3);
        QCOMPARE(again.GetPlayerTimer(), 2);
        QCOMPARE(again.GetDisplayType(), 2);
        QCOMPARE(again.GetCapType(), 1);
        QCOMPARE(again.GetConCapType(), 1);
        QCOMPARE(again.GetDeinterlaceType(), 0);
        QCOMPARE(again.GetSpeed(), 0);
        QCOMPARE(again.GetBrightness(), 64);
        QCOMPARE(again.GetContrast(), 64);
        QCOMPARE(again.GetChromaticity(), 64);
        QCOMPARE(again.GetHue(), 64);
        QVERIFY(again.GetSoundStatus());
        QCOMPARE(again.findChild<CSoundSlider*>()->value(), 65535);
        QCOMPARE(again.findChild<CListBox*>()->count(), 0);
    }

    void WhatWasReadIsWrittenAgain() {
        CDlgTest test;
        QByteArray bytes = FileOf("/pictures", kStartValues);
        bytes.replace("<FilePath>", "<FilePath>/films & more").replace("&", "&amp;");
        bytes.replace("<ThrowBNum>0", "<ThrowBNum>7").replace("<ConCapType>0", "<ConCapType>-1");
        test.Dlg().ReadFromConfigFile(test.WriteFile("in.config", bytes));
        test.Dlg().WriteIntoConfigFile(test.File("out.config"));
        QCOMPARE(Contents(test.File("out.config")), bytes);
    }

    void TheFileBelongsToTheWorkingDirectoryOfTheStart() {
        CDlgTest first;
        first.Dlg().SetThrowBNum(1);
        {
            CDlgTest second; // in a directory of its own, which is the working directory now
            second.Dlg().SetThrowBNum(2);
            first.Close();
            QVERIFY(!QFile::exists(second.File("Player.config")));
            second.Close();
            QVERIFY(Contents(second.File("Player.config")).contains("<ThrowBNum>2<"));
        }
        QVERIFY(Contents(first.File("Player.config")).contains("<ThrowBNum>1<"));
    }

    void WhatIsNotStoredHasItsStartValue() {
        CDlgTest test;
        QCOMPARE(test.Dlg().GetDeinterlaceType(), 0);
        QCOMPARE(test.Dlg().GetPreThrowBNum(), 0);
        QCOMPARE(test.Dlg().GetSpeed(), 0);
        for (const int nValue : {test.Dlg().GetBrightness(), test.Dlg().GetContrast(),
                                 test.Dlg().GetChromaticity(), test.Dlg().GetHue()})
            QCOMPARE(nValue, 64);
    }

    void OddValuesAreReadAsTheyAre() {
        CDlgTest test;
        QByteArray bytes = FileOf("/x", kStartValues);
        bytes.replace("<HighQuality>1", "<HighQuality>true").replace("<ThrowBNum>0", "<ThrowBNum>abc");
        bytes.replace("<Timer>1", "<Timer>77").replace("<CappicType>0", "<CappicType>99999999999");
        const QString strPath = test.WriteFile("odd.config", bytes);
        test.Dlg().SetThrowBNum(2);
        test.Dlg().ReadFromConfigFile(strPath);
        QVERIFY(!test.Dlg().GetHighQuality());
        QVERIFY(test.Dlg().GetDeflash());
        QCOMPARE(test.Dlg().GetThrowBNum(), 0);
        QCOMPARE(test.Dlg().GetPlayerTimer(), 77);
        QCOMPARE(test.Dlg().GetCapType(), 0);
        QCOMPARE(test.Dlg().GetCapPath(), QString("/x"));
    }

    void EmptyElementsAreReadAsEmptyTexts() {
        CDlgTest test;
        CTalvioDlg& window = test.Dlg();
        QVERIFY(!window.GetCapPath().isEmpty() && !window.GetConCapPath().isEmpty());
        QByteArray bytes = FileOf(QString(), kStartValues);
        for (const char* pValue : {"HighQuality>1", "Deflash>1", "ThrowBNum>0", "Timer>1", "DisplayType>1",
                                   "CappicType>0", "ConCapType>0"})
            bytes.replace(pValue, QByteArray(pValue).chopped(1));
        QVERIFY(bytes.contains("<Timer></Timer>") && bytes.contains("<CappicPath></CappicPath>"));
        window.SetThrowBNum(2);
        window.SetCapType(1);
        window.SetConCapType(1);
        window.ReadFromConfigFile(test.WriteFile("empty.config", bytes));
        QCOMPARE(window.GetCapPath(), QString());
        QCOMPARE(window.GetConCapPath(), QString());
        QVERIFY(!window.GetHighQuality());
        QVERIFY(!window.GetDeflash());
        for (const int nValue : {window.GetThrowBNum(), window.GetPlayerTimer(), window.GetDisplayType(),
                                 window.GetCapType(), window.GetConCapType()})
            QCOMPARE(nValue, 0);
    }

    void OnlyAOneIsTrue_data() {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<bool>("expected");
        QTest::newRow("1") << QByteArray("1") << true;
        for (const char* pText : {"0", "true", "yes", "", "2", "01", "-1", "1.0", "True"})
            QTest::newRow(pText) << QByteArray(pText) << false;
    }
    void OnlyAOneIsTrue() {
        QFETCH(QByteArray, text);
        QFETCH(bool, expected);
        CDlgTest test;
        CTalvioDlg& window = test.Dlg();
        for (const bool bBefore : {false, true}) {
            window.SetHighQuality(bBefore);
            window.SetDeflash(bBefore);
            QByteArray bytes = FileOf("/x", kStartValues);
            bytes.replace("<HighQuality>1", "<HighQuality>" + text);
            window.ReadFromConfigFile(test.WriteFile("one.config", bytes));
            QCOMPARE(window.GetHighQuality(), expected);
            QCOMPARE(window.GetDeflash(), true);
            bytes.replace("<HighQuality>" + text + "<", "<HighQuality>1<");
            bytes.replace("<Deflash>1", "<Deflash>" + text);
            window.ReadFromConfigFile(test.WriteFile("one.config", bytes));
            QCOMPARE(window.GetHighQuality(), true);
            QCOMPARE(window.GetDeflash(), expected);
        }
    }

    void SwappedElementsKeepTheirValuesAndTheOthersAreRead() {
        CDlgTest test;
        QByteArray bytes = FileOf("/x", kStartValues);
        bytes.replace("<HighQuality>1</HighQuality>", "<A>")
            .replace("<Deflash>1</Deflash>", "<HighQuality>0</HighQuality>");
        bytes.replace("<A>", "<Deflash>0</Deflash>");
        const QString strPath = test.WriteFile("swapped.config", bytes);
        test.Dlg().ReadFromConfigFile(strPath);
        QVERIFY(test.Dlg().GetHighQuality());
        QVERIFY(test.Dlg().GetDeflash());
        QCOMPARE(test.Dlg().GetConCapPath(), QString("/x"));
    }

    void AFileThatCannotBeUsedLeavesEverything() {
        CDlgTest test;
        test.Dlg().SetCapPath("/mine");
        for (const QByteArray& bytes : {QByteArray(), FileOf("/x", kStartValues + "<!-- c -->"),
                                        FileOf("/x", kStartValues).replace("PlayerSettings", "Settings")}) {
            test.Dlg().ReadFromConfigFile(test.WriteFile("bad.config", bytes));
            QCOMPARE(test.Dlg().GetCapPath(), QString("/mine"));
        }
        test.Dlg().ReadFromConfigFile(test.File("missing.config"));
        test.Dlg().ReadFromConfigFile(QString());
        QCOMPARE(test.Dlg().GetCapPath(), QString("/mine"));
    }

    void NegativePictureValuesAreRefusedAndLargeOnesStored() {
        CDlgTest test;
        CTalvioDlg& window = test.Dlg();
        QVERIFY(!window.SetBrightness(-1) && !window.SetContrast(-1) && !window.SetChromaticity(-1) &&
                !window.SetHue(-1));
        QCOMPARE(window.GetBrightness(), 64);
        QVERIFY(window.SetHue(1000) && window.SetContrast(0));
        QCOMPARE(window.GetHue(), 1000);
        QCOMPARE(window.GetContrast(), 0);
        QCOMPARE(window.GetWatermark(), 1);
    }

    void TheSpeedIsClamped() {
        CDlgTest test;
        test.Dlg().SetSpeed(5);
        QCOMPARE(test.Dlg().GetSpeed(), 4);
        test.Dlg().SetSpeed(-5);
        QCOMPARE(test.Dlg().GetSpeed(), -4);
        test.Dlg().SetSpeed(-4);
        QCOMPARE(test.Dlg().GetSpeed(), -4);
    }

    void TheSizeOfTheFileIsShownInItsUnits_data() {
        QTest::addColumn<qint64>("size");
        QTest::addColumn<QString>("shown");
        QTest::newRow("bytes") << qint64(1023) << "1023 B";
        QTest::newRow("a kilobyte") << qint64(1024) << "1.00 KB";
        QTest::newRow("just below a megabyte") << qint64(1048575) << "1024.00 KB";
        QTest::newRow("a megabyte") << qint64(1048576) << "1.00 MB";
        QTest::newRow("2 GiB, of which 32 bits count") << (qint64(1) << 31) << "-2147483648 B";
        QTest::newRow("4 GiB and one") << (qint64(1) << 32) + 1 << "1 B";
    }
    void TheSizeOfTheFileIsShownInItsUnits() {
        QFETCH(qint64, size);
        QFETCH(QString, shown);
        CDlgTest test;
        const QString strPath = test.WriteFile("a.mp4", QByteArray());
        QVERIFY(QFile::resize(strPath, size)); // takes no room on the disk
        test.Play(strPath);
        QString strSize;
        QVERIFY(test.Dlg().GetFileSize(&strSize));
        QCOMPARE(strSize, shown);
    }
};

QTEST_MAIN(TestConfig)
#include "test_Config.moc"
