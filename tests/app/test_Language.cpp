// Switching the language at run time, by menu and by button: what follows, and that nothing is shown in
// another. And the boxes that the window keeps.
#include "app/HanFont.h"
#include "dialogs/FileInfoDlg.h"
#include "dialogs/HelpDlg.h"
#include "playlist/ListBox.h"
#include "playlist/ListTitleBarWidget.h"
#include "settings/PlayerSettingDlg.h"
#include "tests/app/DlgTest.h"
#include "tests/resources/Catalog.h"
#include "widgets/ControlsBarWidget.h"
#include "widgets/FloatDlg.h"
#include "widgets/SkinButton.h"
#include "widgets/StaticTitle.h"

#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QFile>
#include <QGlyphRun>
#include <QGroupBox>
#include <QLineEdit>
#include <QMenu>
#include <QRawFont>
#include <QRegularExpression>
#include <QTableWidget>
#include <QTest>
#include <QTextLayout>
#include <QTranslator>

#include <sys/stat.h>

namespace {

const QString kChineseCatalog = QStringLiteral(TALVIO_SOURCE_DIR "/resources/talvio_zh.ts");
const QString kChineseNames = QStringLiteral(TALVIO_SOURCE_DIR "/resources/talvio_names_zh.ts");

// The tool tips of all buttons, in the order in which the window sets them.
QStringList ToolTips(CDlgTest& test) {
    const auto* pFloat = test.Find<CFloatDlg>();
    const auto* pList = test.Find<CListTitleBar>();
    const auto* pBar = test.Find<CControlsBarWidget>();
    QStringList lstTips;
    for (const CSkinButton* pButton :
         {pFloat->m_pFullScreenBtn, pFloat->m_pNormalSizeBtn, pFloat->m_pDoubleSizeBtn, pList->m_pAddBtn,
          pList->m_pDeleteBtn,      pList->m_pClearBtn,       pList->m_pModeBtn,        pList->m_pCloseBtn,
          pBar->m_pPlayBtn,         pBar->m_pStopBtn,         pBar->m_pStartBtn,        pBar->m_pSlowBtn,
          pBar->m_pFastBtn,         pBar->m_pEndBtn,          pBar->m_pLastFrameBtn,    pBar->m_pNextFrameBtn,
          pBar->m_pBackBtn,         pBar->m_pSoundBtn,        pBar->m_pLanguageBtn,     pBar->m_pOpenFileBtn,
          pBar->m_pPlaylistBtn,     pBar->m_pToolBoxBtn})
        lstTips.append(pButton->toolTip());
    return lstTips;
}

// Every text that `widget` and what is on it show, or would show when they are looked at.
QSet<QString> TextsOf(const QWidget& widget) {
    QSet<QString> texts;
    QList<const QWidget*> lstWidgets = {&widget};
    for (const QWidget* pChild : widget.findChildren<QWidget*>())
        lstWidgets.append(pChild);
    for (const QWidget* pWidget : lstWidgets) {
        for (const QString& strText : {pWidget->toolTip(), pWidget->windowTitle(), pWidget->statusTip()})
            texts.insert(strText);
        if (const auto* pStatic = qobject_cast<const CStaticText*>(pWidget))
            texts.insert(pStatic->GetStaticText());
        if (const auto* pLabel = qobject_cast<const QLabel*>(pWidget)) texts.insert(pLabel->text());
        if (const auto* pButton = qobject_cast<const QAbstractButton*>(pWidget))
            texts.insert(pButton->text());
        if (const auto* pBox = qobject_cast<const QGroupBox*>(pWidget)) texts.insert(pBox->title());
        if (const auto* pMenu = qobject_cast<const QMenu*>(pWidget)) texts.insert(pMenu->title());
        if (const auto* pLine = qobject_cast<const QLineEdit*>(pWidget))
            texts.insert(pLine->placeholderText());
        if (const auto* pCombo = qobject_cast<const QComboBox*>(pWidget)) {
            for (int n = 0; n < pCombo->count(); ++n)
                texts.insert(pCombo->itemText(n));
        }
        if (const auto* pTable = qobject_cast<const QTableWidget*>(pWidget)) {
            for (int n = 0; n < pTable->columnCount(); ++n)
                texts.insert(pTable->horizontalHeaderItem(n)->text());
            for (int n = 0; n < pTable->rowCount(); ++n)
                texts.insert(pTable->verticalHeaderItem(n)->text());
            for (int n = 0; n < pTable->rowCount() * pTable->columnCount(); ++n) {
                const auto* pItem = pTable->item(n / pTable->columnCount(), n % pTable->columnCount());
                if (pItem != nullptr) texts.insert(pItem->text());
            }
        }
    }
    // An entry that opens a menu is named by the menu.
    for (const QAction* pAction : widget.findChildren<QAction*>()) {
        if (pAction->menu() == nullptr && pAction->parent() == &widget) texts.insert(pAction->text());
    }
    return texts;
}

// The same of the window and of every dialog that it opens.
QSet<QString> AllTexts(CDlgTest& test) {
    QSet<QString> texts = TextsOf(test.Dlg());
    texts.unite(TextsOf(CPlayerSetting(&test.Dlg())));
    texts.unite(TextsOf(CFileInfoDlg(&test.Dlg())));
    texts.unite(TextsOf(CHelpDlg(&test.Dlg())));
    return texts;
}

// Those that are neither among `known` nor names, numbers and facts.
QStringList Unknown(const QSet<QString>& texts, const QSet<QString>& known) {
    const QSet<QString> names = {"", "Talvio", "Talvio, V1.0", "libDravo.so, 7.0.0.6", "BMP", "JPEG"};
    const QRegularExpression facts("^[0-9:./ %xBKM]+$");
    QStringList lstUnknown;
    for (const QString& strText : texts) {
        if (!known.contains(strText) && !names.contains(strText) && !facts.match(strText).hasMatch())
            lstUnknown.append(strText);
    }
    lstUnknown.sort();
    return lstUnknown;
}

// All texts of the catalog: the sources, or what they are in Chinese, which is the source where nothing else
// is given.
QSet<QString> CatalogTexts(bool bChinese) {
    QSet<QString> texts;
    Catalog catalog = ReadCatalog(kChineseCatalog);
    catalog.insert(ReadCatalog(kChineseNames));
    for (const auto& messages : catalog) {
        for (auto message = messages.begin(); message != messages.end(); ++message)
            texts.insert(bChinese && !message->isEmpty() ? *message : message.key());
    }
    // The speed is filled in.
    for (const QString& strText : QSet<QString>(texts)) {
        for (const int n : {2, 4, 8, 16}) {
            if (strText.contains("%1")) texts.insert(strText.arg(n));
        }
    }
    return texts;
}

// A language in which another key stops.
class COtherStopKey : public QTranslator {
  public:
    bool isEmpty() const override { return false; }
    QString translate(const char* pContext, const char* pSource, const char* /*pComment*/,
                      int /*nNumber*/) const override {
        const bool bKey = qstrcmp(pContext, "CTalvioDlg") == 0 && qstrcmp(pSource, "Ctrl+S") == 0;
        return bKey ? QStringLiteral("Ctrl+T") : QString();
    }
};

} // namespace

class TestLanguage : public QObject {
    Q_OBJECT

  private slots:
    void TheMenuSwitchesBothWays() {
        CDlgTest test;
        QAction* pOpen = test.Action("Open File");
        QAction* pMode = test.Action("Playlist Play");
        QAction* pChinese = test.Action("Chinese");
        QAction* pEnglish = test.Action("English");
        QVERIFY(pEnglish->isChecked());
        for (int n = 0; n < 2; ++n) { // twice changes nothing more
            QVERIFY(test.Dlg().SwitchLanguage(pChinese));
            QCOMPARE(pOpen->text(), QString::fromUtf8("打开文件"));
            QCOMPARE(pMode->text(), QString::fromUtf8("顺序播放"));
            QVERIFY(pChinese->isChecked());
        }
        QVERIFY(test.Dlg().SwitchLanguage(pEnglish));
        QCOMPARE(pOpen->text(), QString("Open File"));
        QCOMPARE(pMode->text(), QString("Playlist Play"));
        QVERIFY(pEnglish->isChecked());
        QVERIFY(!test.Dlg().SwitchLanguage(nullptr));
    }

    void ALanguageBringsItsOwnShortcuts() {
        CDlgTest test;
        const QAction* pStop = test.Action("Stop");
        QAction* pChinese = test.Action("Chinese");
        QAction* pEnglish = test.Action("English");
        {
            COtherStopKey other;
            QVERIFY(QCoreApplication::installTranslator(&other));
            QVERIFY(test.Dlg().SwitchLanguage(pChinese));
            QCOMPARE(pStop->shortcut(), QKeySequence(Qt::CTRL | Qt::Key_T));
            QCOMPARE(pStop->shortcuts().size(), 1);
            QCoreApplication::removeTranslator(&other);
        }
        QVERIFY(test.Dlg().SwitchLanguage(pEnglish));
        QCOMPARE(pStop->shortcut(), QKeySequence(Qt::CTRL | Qt::Key_S));
    }

    void ToolTipsAndStatusFollowInEveryState_data() {
        QTest::addColumn<int>("state");
        QTest::addColumn<QString>("english");
        QTest::addColumn<QString>("chinese");
        QTest::addColumn<QString>("play");
        QTest::addColumn<QString>("playChinese");
        const auto row = [](const char* pName, int nState, const char* pEnglish, const char* pChinese,
                            const char* pPlay, const char* pPlayChinese) {
            QTest::newRow(pName) << nState << pEnglish << QString::fromUtf8(pChinese) << pPlay
                                 << QString::fromUtf8(pPlayChinese);
        };
        row("closed", 0, "Ready", "就绪", "Play", "播放");
        row("playing", 1, "Playing", "正在播放", "Pause", "暂停");
        row("paused", 2, "Pause", "暂停", "Play", "播放");
        row("stopped", 3, "Stop", "停止", "Play", "播放");
    }
    void ToolTipsAndStatusFollowInEveryState() {
        QFETCH(int, state);
        QFETCH(QString, english);
        QFETCH(QString, chinese);
        QFETCH(QString, play);
        QFETCH(QString, playChinese);
        CDlgTest test;
        if (state != 0) test.PlayInto(state);
        const QStringList lstEnglish = {"Full Screen",
                                        "Normal Size",
                                        "2 Times Size",
                                        "Add File to Playlist",
                                        "Delete the Selected File",
                                        "Clear up the Playlist",
                                        "Select the Play Modes",
                                        "Close PlayList",
                                        play,
                                        "Stop",
                                        "To the Start",
                                        "Slow",
                                        "Fast",
                                        "To the End",
                                        "Last Frame",
                                        "Next Frame",
                                        "Start BackPlay",
                                        "Mute",
                                        "English",
                                        "Open File",
                                        "Show/Hide Playlist",
                                        "Tool Box"};
        const Catalog catalog = ReadCatalog(kChineseCatalog);
        QStringList lstChinese;
        for (const QString& strTip : lstEnglish)
            lstChinese.append(catalog["CTalvioDlg"][strTip]);
        QCOMPARE(lstChinese[8], playChinese);
        QCOMPARE(ToolTips(test), lstEnglish);
        QAction* pChinese = test.Action("Chinese");
        QAction* pEnglish = test.Action("English");
        for (int n = 0; n < 2; ++n) {
            QVERIFY(test.Dlg().SwitchLanguage(pChinese));
            QCOMPARE(test.LeftText(), chinese);
            QCOMPARE(ToolTips(test), lstChinese);
            QVERIFY(test.Dlg().SwitchLanguage(pEnglish));
            QCOMPARE(test.LeftText(), english);
            QCOMPARE(ToolTips(test), lstEnglish);
        }
    }

    void TheButtonNeedsACatalogInTheWorkingDirectory() {
        CDlgTest test;
        QAction* pOpen = test.Action("Open File");
        QAction* pChinese = test.Action("Chinese");
        QVERIFY(test.Dlg().ChangeLanguage());
        QCOMPARE(pOpen->text(), QString("Open File"));
        QVERIFY(pChinese->isChecked()); // the window takes itself for Chinese all the same
        QVERIFY(test.Dlg().ChangeLanguage());
        QVERIFY(!pChinese->isChecked());

        QVERIFY(QFile::copy(":/talvio_zh.qm", test.File("talvio_zh.qm")));
        QVERIFY(test.Dlg().ChangeLanguage());
        QCOMPARE(pOpen->text(), QString::fromUtf8("打开文件"));
        QVERIFY(test.Dlg().ChangeLanguage());
        QCOMPARE(pOpen->text(), QString("Open File"));
    }

    void TheButtonTakesNoCatalogOfAShorterName_data() {
        QTest::addColumn<QString>("name");
        for (const char* pName : {"talvio.qm", "talvio_zh", "talvio_zh.qm.qm", "talvio"})
            QTest::newRow(pName) << QString(pName);
    }
    void TheButtonTakesNoCatalogOfAShorterName() {
        QFETCH(QString, name);
        CDlgTest test;
        QVERIFY(QFile::copy(":/talvio_zh.qm", test.File(name)));
        QAction* pOpen = test.Action("Open File");
        QVERIFY(test.Dlg().ChangeLanguage());
        QCOMPARE(pOpen->text(), QString("Open File"));
    }

    void ADamagedCatalogInTheWorkingDirectoryIsEnglish() {
        CDlgTest test;
        QFile catalog(":/talvio_zh.qm");
        QVERIFY(catalog.open(QIODevice::ReadOnly));
        const QByteArray whole = catalog.readAll();
        QAction* pOpen = test.Action("Open File");
        for (const QByteArray& bytes :
             {QByteArray(), whole.first(15), whole.first(whole.size() / 2), QByteArray(20000, '\xff'),
              whole.first(20) + QByteArray(20000, '\xff')}) {
            test.WriteFile("talvio_zh.qm", bytes);
            QVERIFY(test.Dlg().ChangeLanguage());
            QCOMPARE(pOpen->text(), QString("Open File"));
            QVERIFY(test.Dlg().ChangeLanguage());
        }
    }

    void ACatalogInUseMayBeCutShort() {
        CDlgTest test;
        QAction* pOpen = test.Action("Open File");
        QVERIFY(QFile::copy(":/talvio_zh.qm", test.File("talvio_zh.qm")));
        QVERIFY(test.Dlg().ChangeLanguage());
        // The file is written over, not replaced by another of its name.
        QVERIFY(QFile::setPermissions(test.File("talvio_zh.qm"), QFile::ReadOwner | QFile::WriteOwner));
        QVERIFY(QFile::resize(test.File("talvio_zh.qm"), 0));
        test.Dlg().ReTranslateUiText();
        QCOMPARE(pOpen->text(), QString::fromUtf8("打开文件"));
        QVERIFY(test.Dlg().ChangeLanguage());
        QCOMPARE(pOpen->text(), QString("Open File"));
        QVERIFY(test.Dlg().ChangeLanguage());
        QCOMPARE(pOpen->text(), QString("Open File"));
    }

    void WhatCannotBeACatalogIsNotReadThrough() {
        CDlgTest test;
        QAction* pOpen = test.Action("Open File");
        const QString strCatalog = test.File("talvio_zh.qm");
        QCOMPARE(mkfifo(QFile::encodeName(strCatalog), 0600), 0); // nobody will write into it
        QVERIFY(test.Dlg().ChangeLanguage());
        QCOMPARE(pOpen->text(), QString("Open File"));
        QVERIFY(test.Dlg().ChangeLanguage());
        QVERIFY(QFile::remove(strCatalog));

        QVERIFY(QFile::copy(":/talvio_zh.qm", strCatalog));
        QVERIFY(QFile::setPermissions(strCatalog, QFile::ReadOwner | QFile::WriteOwner));
        QVERIFY(QFile::resize(strCatalog, qint64(1) << 40)); // takes no room on the disk
        QVERIFY(test.Dlg().ChangeLanguage());
        QCOMPARE(pOpen->text(), QString("Open File"));
    }

    void TheButtonAfterTheMenuGoesBackToEnglishWithoutACatalog() {
        CDlgTest test;
        QAction* pOpen = test.Action("Open File");
        QAction* pChinese = test.Action("Chinese");
        QVERIFY(test.Dlg().SwitchLanguage(pChinese));
        QVERIFY(test.Dlg().ChangeLanguage());
        QCOMPARE(pOpen->text(), QString("Open File"));
        QVERIFY(!pChinese->isChecked());
    }

    void TheButtonShowsTheLanguage() {
        CDlgTest test;
        CSkinButton* pButton = test.Find<CControlsBarWidget>()->m_pLanguageBtn;
        QCOMPARE(WrongStatesOfOne(pButton, "en"), QString());
        QVERIFY(test.Dlg().ChangeLanguage());
        QCOMPARE(WrongStatesOfOne(pButton, "cn-en"), QString());
        QVERIFY(test.Dlg().ChangeLanguage());
        QCOMPARE(WrongStatesOfOne(pButton, "en"), QString());
        QAction* pChinese = test.Action("Chinese");
        QVERIFY(test.Dlg().SwitchLanguage(pChinese));
        QCOMPARE(WrongStatesOfOne(pButton, "cn-en"), QString());
    }

    void EveryStartIsInEnglish() {
        CDlgTest test;
        QVERIFY(test.Dlg().SwitchLanguage(test.Action("Chinese")));
        test.Close();
        CDlgTest again;
        QCOMPARE(again.LeftText(), QString("Ready"));
        QVERIFY(again.Action("English")->isChecked());
    }

    void TheSpeedAndTheSoundAreNamedInTheLanguage() {
        CDlgTest test;
        QAction* pChinese = test.Action("Chinese");
        test.Play();
        QVERIFY(test.Dlg().SwitchLanguage(pChinese));
        QVERIFY(test.Dlg().Fast() && test.Dlg().Fast());
        QCOMPARE(test.LeftText(), QString::fromUtf8("速度 * 4"));
        for (int n = 0; n < 3; ++n)
            QVERIFY(test.Dlg().Slow());
        QCOMPARE(test.LeftText(), QString::fromUtf8("速度 / 2"));
        test.Dlg().Sound();
        QCOMPARE(test.Find<CControlsBarWidget>()->m_pSoundBtn->toolTip(), QString::fromUtf8("静音 开/关"));
    }

    void EveryTextThatIsShownIsInTheCatalog_data() {
        QTest::addColumn<int>("state");
        for (int n = 0; n <= 3; ++n)
            QTest::addRow("state %d", n) << n;
    }
    void EveryTextThatIsShownIsInTheCatalog() {
        QFETCH(int, state);
        CDlgTest test;
        if (state != 0) test.PlayInto(state);
        test.Find<CListBox>()->clear();
        QAction* pChinese = test.Action("Chinese");
        QAction* pEnglish = test.Action("English");
        const QSet<QString> english = AllTexts(test);
        QVERIFY2(english.size() > 140, qPrintable(QString::number(english.size()))); // it does look at them
        QSet<QString> facts = {test.Dlg().GetCapPath(), "a.mp4", "mp4", "/rec/"};
        QCOMPARE(Unknown(english, CatalogTexts(false) + facts), QStringList());
        QVERIFY(test.Dlg().SwitchLanguage(pChinese));
        QCOMPARE(Unknown(AllTexts(test), CatalogTexts(true) + facts), QStringList());
        QVERIFY(test.Dlg().SwitchLanguage(pEnglish));
        QCOMPARE(AllTexts(test), english);
    }

    void HanLettersAreSimplifiedOnesAndLatinOnesWhatTheyWere() {
        const auto familyOf = [](const QString& strText) {
            QTextLayout layout(strText, QFont());
            layout.beginLayout();
            layout.createLine();
            layout.endLayout();
            const QList<QGlyphRun> lstRuns = layout.glyphRuns();
            return lstRuns.size() == 1 ? lstRuns[0].rawFont().familyName() : QString();
        };
        const QFont before = QApplication::font();
        const QString strLatin = familyOf("Pause");
        PreferSimplifiedHan();
        QCOMPARE(familyOf("Pause"), strLatin);
        QCOMPARE(familyOf(QString::fromUtf8("暂停")), QString("Noto Sans CJK SC"));
        QApplication::setFont(before);
    }

    void EachAboutShowsAWindowOfItsOwn() {
        CDlgTest test;
        QVERIFY(test.Dlg().ShowAboutDlg());
        QVERIFY(test.Dlg().ShowAboutDlg());
        const QList<CHelpDlg*> lstBoxes = test.Dlg().findChildren<CHelpDlg*>();
        QCOMPARE(lstBoxes.size(), 2);
        QVERIFY(lstBoxes[0]->isVisible() && lstBoxes[1]->isVisible());
    }

    void TheFileInformationStaysHiddenAfterItIsClosed() {
        CDlgTest test;
        QTimer timer;
        connect(&timer, &QTimer::timeout, &test.Dlg(), [] {
            if (auto* pBox = qobject_cast<CFileInfoDlg*>(QApplication::activeModalWidget())) pBox->close();
        });
        timer.start(5);
        QVERIFY(test.Dlg().DisplayFileInfo());
        QVERIFY(test.Dlg().DisplayFileInfo());
        const QList<CFileInfoDlg*> lstBoxes = test.Dlg().findChildren<CFileInfoDlg*>();
        QCOMPARE(lstBoxes.size(), 2);
        QVERIFY(!lstBoxes[0]->isVisible() && !lstBoxes[1]->isVisible());
    }

    void TheFileInformationTellsOfTheCurrentFile() {
        CDlgTest test;
        const auto shown = [&test] {
            const CFileInfoDlg dlg(&test.Dlg());
            QStringList lstValues;
            for (const char* pName :
                 {"label", "label_3", "label_5", "label_7", "label_9", "label_12", "label_13"})
                lstValues.append(dlg.findChild<QLabel*>(pName)->text());
            return lstValues.join('|');
        };
        QCOMPARE(shown(), QString("||0 x 0|00:00:00|0||"));

        test.Fake().SetPictureSize(704, 576);
        test.Fake().SetResult("Dravo_GetCurrentFrameRate", 30);
        const QString strFilm = test.WriteFile("film.264", QByteArray(2048, 'x'));
        test.Play(strFilm); // of 10 s
        const QString strFolder = strFilm.left(strFilm.size() - 8);
        const QString strShort = strFolder.size() > 39 ? strFolder.left(40) + "..." : strFolder;
        QCOMPARE(shown(), "film.264|264|704 x 576|00:00:10|30|2.00 KB|" + strShort);
        test.Fake().SetResult("Dravo_GetFileTime", 100UL * 3600 + 59 * 60 + 1);
        test.Dlg().OpenItemFile(strFilm);
        QVERIFY(shown().contains("|100:59:01|"));

        // What is added is current, whatever plays.
        QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
        const QString strAdded = test.WriteFile("added.mp4", "x");
        const CModalAnswer answer([&strAdded](QDialog* pChooser) {
            pChooser->findChild<QLineEdit*>()->setText(strAdded);
            static_cast<QDialog*>(pChooser)->accept();
        });
        QVERIFY(test.Dlg().AddFile());
        QVERIFY2(shown().startsWith("added.mp4|mp4|"), qPrintable(shown()));
        QVERIFY(shown().contains("|1 B|"));
    }

    void AFactWithoutASourceOrAPlaceLeavesEverythingAsItIs() {
        CDlgTest test;
        CTalvioDlg& window = test.Dlg();
        QVERIFY(!window.GetFilePath(nullptr) && !window.GetResolution(nullptr) &&
                !window.GetFrameRate(nullptr) && !window.GetFileTime(nullptr) &&
                !window.GetFileSize(nullptr));
        QString strText = "untouched";
        QVERIFY(!window.GetFilePath(&strText)); // no file
        QVERIFY(!window.GetFileSize(&strText));
        QCOMPARE(strText, QString("untouched"));
        QVERIFY(window.GetResolution(&strText) && window.GetFrameRate(&strText) &&
                window.GetFileTime(&strText));
    }
};

QTEST_MAIN(TestLanguage)
#include "test_Language.moc"
