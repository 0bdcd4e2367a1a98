// The translation catalogs: which texts they hold, how the telling ones are translated, and that no text of
// the program is missing from them.
#include "tests/resources/Catalog.h"
#include "tests/resources/CatalogTexts.h"

#include <QFile>
#include <QProcess>
#include <QSet>
#include <QTemporaryDir>
#include <QTest>
#include <QTranslator>

namespace {

template <typename Texts>
QSet<QString> SetOf(const Texts& texts) {
    QSet<QString> set;
    for (const char* pText : texts)
        set.insert(QString::fromUtf8(pText));
    return set;
}

QSet<QString> Keys(const QMap<QString, QString>& texts) {
    const QStringList lstKeys = texts.keys();
    return {lstKeys.begin(), lstKeys.end()};
}

const QString kResources = QStringLiteral(TALVIO_SOURCE_DIR "/resources/");

} // namespace

class TestCatalogs : public QObject {
    Q_OBJECT

  private slots:
    void TheChineseCatalogHoldsEveryTextOfTheProgramAndNoOther() {
        const Catalog catalog = ReadCatalog(kResources + "talvio_zh.ts");
        QCOMPARE(catalog.keys(), QStringList({"CFileInfoDlg", "CPlayerSetting", "CTalvioDlg"}));
        QCOMPARE(Keys(catalog["CTalvioDlg"]), SetOf(catalog::kTalvioDlg));
        QCOMPARE(Keys(catalog["CPlayerSetting"]), SetOf(catalog::kPlayerSetting));
        QCOMPARE(Keys(catalog["CFileInfoDlg"]), SetOf(catalog::kFileInfoDlg));
        QCOMPARE(catalog["CTalvioDlg"].size(), 88);
        QCOMPARE(catalog["CPlayerSetting"].size(), 82);
        QCOMPARE(catalog["CFileInfoDlg"].size(), 8);
    }

    void TheNamesOfWidgetsWithoutATextComeAlong() {
        const Catalog catalog = ReadCatalog(kResources + "talvio_names_zh.ts");
        QCOMPARE(catalog.keys(), QStringList({"CPlaySlider", "CPlayerTitle", "CSoundSlider"}));
        // Also when the catalog lies alone in another folder.
        QTemporaryDir folder;
        QVERIFY(QFile::copy(":/talvio_zh.qm", folder.filePath("talvio_zh.qm")));
        for (const QString& strPath : {QString(":/talvio_zh.qm"), folder.filePath("talvio_zh.qm")}) {
            QTranslator translator;
            QVERIFY(translator.load(strPath));
            QCOMPARE(translator.translate("CTalvioDlg", "Ready"), QString::fromUtf8("就绪"));
            for (auto context = catalog.begin(); context != catalog.end(); ++context) {
                for (auto text = context->begin(); text != context->end(); ++text) {
                    QVERIFY(!text->isEmpty());
                    QCOMPARE(translator.translate(context.key().toUtf8(), text.key().toUtf8()), *text);
                }
            }
        }
    }

    void OnlyNamesOfKeysAndNumbersStayAsTheyAre() {
        const Catalog catalog = ReadCatalog(kResources + "talvio_zh.ts");
        QStringList lstSame;
        for (auto context = catalog.begin(); context != catalog.end(); ++context) {
            for (auto text = context->begin(); text != context->end(); ++text) {
                if (*text == text.key()) lstSame.append(context.key() + ' ' + text.key());
            }
        }
        QCOMPARE(lstSame, QStringList({"CPlayerSetting 1", "CPlayerSetting C", "CPlayerSetting Ctrl",
                                       "CPlayerSetting O", "CPlayerSetting S", "CPlayerSetting X16",
                                       "CPlayerSetting X2", "CPlayerSetting X4", "CPlayerSetting X8",
                                       "CTalvioDlg Ctrl+C", "CTalvioDlg Ctrl+O", "CTalvioDlg Ctrl+S"}));
    }

    void PlaceholdersAndShortcutsSurviveTranslation() {
        const Catalog catalog = ReadCatalog(kResources + "talvio_zh.ts");
        for (const QMap<QString, QString>& texts : catalog) {
            for (auto text = texts.begin(); text != texts.end(); ++text) {
                QCOMPARE(text->contains("%1"), text.key().contains("%1"));
                if (text.key().startsWith("Ctrl+")) QCOMPARE(*text, text.key());
            }
        }
    }

    void TheProgramCarriesTheTranslations_data() {
        QTest::addColumn<QString>("context");
        QTest::addColumn<QString>("source");
        QTest::addColumn<QString>("chinese");
        const auto row = [](const char* pContext, const char* pSource, const char* pChinese) {
            QTest::addRow("%s %.20s", pContext, pSource)
                << QString(pContext) << QString::fromUtf8(pSource) << QString::fromUtf8(pChinese);
        };
        row("CTalvioDlg", "ALL File (*.*);;Media File (*.mp4 *.264)",
            "所有文件 (*.*);;Brek文件 (*.mp4 *.264)");
        row("CTalvioDlg", "Add File", "添加文件到列表");
        row("CTalvioDlg", "Add File to Playlist", "添加文件到列表");
        row("CTalvioDlg", "Remove File", "删除选中文件");
        row("CTalvioDlg", "Delete the Selected File", "删除选中文件");
        row("CTalvioDlg", "Mute", "静音 开/关");
        row("CTalvioDlg", "Sound", "静音 开/关");
        row("CTalvioDlg", "Play Mode", "播放顺序");
        row("CTalvioDlg", "Playlist Play", "顺序播放");
        row("CTalvioDlg", "Playlist Repeat", "列表循环");
        row("CTalvioDlg", "The File Number is the Largest in Playlist", "文件列表内文件达到最大数");
        row("CTalvioDlg", "When Converting,The File Will Stop Playing.\nIf Continue,Click 'Yes'.\n",
            "在进行AVI转换时,文件停止播放.如果继续，请按'是'.");
        row("CTalvioDlg", "Ready", "就绪");
        row("CTalvioDlg", "PlayList", "播放列表");
        row("CTalvioDlg", "Playlist", "播放列表");
        // The names of these two sliders are crossed in Chinese, which its users know.
        row("CPlayerSetting", "Chromaticity", "对比度");
        row("CPlayerSetting", "Constrast", "饱和度");
        row("CPlayerSetting", "Hot Key", "操作说明");
        row("CPlayerSetting", "Locate", "影片跳转");
        row("CPlayerSetting", "Video Locate", "影片跳转");
        row("CPlayerSetting", "Ctrl", "Ctrl");
        row("CFileInfoDlg", "File Name:", "文件名字:");
        row("CFileInfoDlg", "Time:", "时长:");
        row("CFileInfoDlg", "FrameRate:", "帧率:");
    }
    void TheProgramCarriesTheTranslations() {
        QFETCH(QString, context);
        QFETCH(QString, source);
        QFETCH(QString, chinese);
        QTranslator translator;
        QVERIFY(translator.load(":/talvio_zh.qm"));
        QCOMPARE(translator.translate(context.toUtf8(), source.toUtf8()), chinese);
    }

    void TheProgramCarriesEveryTranslationOfTheCatalog() {
        const Catalog catalog = ReadCatalog(kResources + "talvio_zh.ts");
        QTranslator translator;
        QVERIFY(translator.load(":/talvio_zh.qm"));
        int nCarried = 0;
        for (auto context = catalog.begin(); context != catalog.end(); ++context) {
            for (auto text = context->begin(); text != context->end(); ++text) {
                const QString strCarried = translator.translate(context.key().toUtf8(), text.key().toUtf8());
                QCOMPARE(strCarried, *text);
                if (!strCarried.isEmpty()) ++nCarried;
            }
        }
        QCOMPARE(nCarried, 178);
    }

    void TheEnglishCatalogIsThereAndEmpty() {
        QVERIFY(ReadCatalog(kResources + "talvio_en.ts").isEmpty());
        QVERIFY(QFile::exists(":/talvio_en.qm"));
        QTranslator translator;
        QVERIFY(translator.load(":/talvio_zh.qm"));
        QVERIFY(translator.load(":/talvio_en.qm"));
        QVERIFY(translator.isEmpty());
        QVERIFY(translator.translate("CTalvioDlg", "Ready").isEmpty());
    }

    // The toolkit's own extractor finds every text that goes through tr().
    void TheCatalogsHoldTheTextsOfTheSourcesAndNoOthers() {
        QTemporaryDir folder;
        const QString strFound = folder.filePath("found.ts");
        QProcess lupdate;
        lupdate.start(TALVIO_LUPDATE,
                      {"-no-obsolete", "-locations", "none", "-silent", TALVIO_SOURCE_DIR "/app",
                       TALVIO_SOURCE_DIR "/settings", TALVIO_SOURCE_DIR "/dialogs",
                       TALVIO_SOURCE_DIR "/widgets", TALVIO_SOURCE_DIR "/playlist", "-ts", strFound});
        QVERIFY(lupdate.waitForFinished(60000));
        QCOMPARE(lupdate.exitCode(), 0);
        const Catalog found = ReadCatalog(strFound);
        Catalog catalog = ReadCatalog(kResources + "talvio_zh.ts");
        catalog.insert(ReadCatalog(kResources + "talvio_names_zh.ts"));
        QCOMPARE(found.keys(), catalog.keys());
        for (auto context = catalog.begin(); context != catalog.end(); ++context)
            QCOMPARE(found[context.key()].keys(), context->keys());
    }
};

QTEST_GUILESS_MAIN(TestCatalogs)
#include "test_Catalogs.moc"
