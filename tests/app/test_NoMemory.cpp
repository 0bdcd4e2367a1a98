// The window with one of its parts missing, whichever it is, because there was no memory for it.
#include "tests/app/DlgTest.h"
#include "widgets/ControlsBarWidget.h"
#include "widgets/FloatDlg.h"
#include "widgets/PlayerTitle.h"
#include "widgets/PlayStatusWidget.h"
#include "widgets/SkinButton.h"

#include <QAction>
#include <QLineEdit>
#include <QListWidgetItem>
#include <QTest>

#include <new>
#include <vector>

namespace {

// Which of the next allocations that may fail does so, counted from 1; 0 for none.
int g_nFailing = 0;
// The sizes of those asked for since it was set.
std::vector<std::size_t> g_vecAsked;
// Which of the next entries of the playlist cannot be had, counted from 1; 0 for none.
int g_nFailingEntry = 0;

void FailAt(int nAllocation) {
    g_nFailing = nAllocation;
    g_vecAsked.clear();
}

} // namespace

void* operator new(std::size_t nSize, const std::nothrow_t&) noexcept {
    try {
        g_vecAsked.push_back(nSize);
        if (static_cast<int>(g_vecAsked.size()) == g_nFailing) return nullptr;
        if (g_nFailingEntry > 0 && nSize == sizeof(QListWidgetItem) && --g_nFailingEntry == 0) return nullptr;
        return ::operator new(nSize);
    } catch (...) {
        return nullptr;
    }
}

class CNoMemoryTest : public QObject {
    Q_OBJECT

  private slots:
    void cleanup() {
        FailAt(0);
        g_nFailingEntry = 0;
    }

    void AWindowWithoutOneOfItsPartsIsUsable() {
        FailAt(0);
        { const CDlgTest whole; }
        const std::vector<std::size_t> vecSizes = g_vecAsked;
        QVERIFY(vecSizes.size() > 100);
        for (std::size_t n = 1; n <= vecSizes.size(); ++n) {
            // Of many alike in a row, all the actions or a bar's buttons, the first and the last will do.
            const bool bInside = n > 1 && n < vecSizes.size() && vecSizes[n - 2] == vecSizes[n - 1] &&
                                 vecSizes[n] == vecSizes[n - 1];
            if (bInside) continue;
            FailAt(static_cast<int>(n));
            CDlgTest test;
            FailAt(0);
            Work(test.Dlg());
        }
    }

    void WithoutItsActionFullScreenIsRefused() {
        // The facade, the view and the menus are there; the actions are missing as a whole.
        bool bSeen = false;
        for (int n = 1; !bSeen; ++n) {
            FailAt(n);
            CDlgTest test;
            QVERIFY(n <= static_cast<int>(g_vecAsked.size())); // some allocation did fail
            FailAt(0);
            CTalvioDlg& dlg = test.Dlg();
            const bool bActions = !dlg.findChildren<QAction*>(Qt::FindDirectChildrenOnly).isEmpty();
            if (bActions || dlg.GetOperate() == nullptr || test.Find<CFloatDlg>() == nullptr) continue;
            bSeen = true;
            test.Play();
            QVERIFY(!dlg.FullScreen());
            QVERIFY(!dlg.GetFullScreenStatus());
            QVERIFY(!dlg.isFullScreen());
        }
    }

    void AnEntryThatCannotBeHadIsNotListed() {
        CDlgTest test;
        g_nFailingEntry = 1;
        QVERIFY(!test.Dlg().AddFile2List(QStringLiteral("/rec/a.mp4"), false));
        QCOMPARE(test.Playlist(), QStringList());
        QVERIFY(test.Dlg().AddFile2List(QStringLiteral("/rec/a.mp4"), false));
        QCOMPARE(test.Playlist(), QStringList({"/rec/a.mp4"}));
    }

    void AnEntryThatCannotBeHadEndsTheChoosersBatch() {
        CDlgTest test;
        QVERIFY(test.Dlg().JudgeFileType(test.File("1.mp4"))); // from now on it asks for nothing
        for (const char* pName : {"1.mp4", "2.mp4", "3.mp4"})
            test.WriteFile(pName, "x");
        const CModalAnswer answer([](QDialog* pDialog) {
            pDialog->findChild<QLineEdit*>()->setText(R"("1.mp4" "2.mp4" "3.mp4")");
            pDialog->accept();
        });
        g_nFailingEntry = 2;
        QString strPath;
        QVERIFY(!test.Dlg().BrowseFile(&strPath));
        QCOMPARE(answer.Count(), 1);
        QCOMPARE(g_nFailingEntry, 0);
        QCOMPARE(test.Playlist(), QStringList({test.File("1.mp4")}));
        // The third was not even looked at.
        const std::string strThird = "Dravo_OpenFile(1, \"" + test.File("3.mp4").toStdString();
        QCOMPARE(test.Fake().CountCalls(strThird), 0);
        QCOMPARE(test.State(), 0);
    }

    void ABarThatCannotBeBuiltHasNothing_data() {
        QTest::addColumn<int>("nFailing");
        for (int n = 1; n <= 4; ++n)
            QTest::addRow("%d", n) << n;
    }
    void ABarThatCannotBeBuiltHasNothing() {
        QFETCH(int, nFailing);
        FailAt(nFailing);
        const CPlayerTitle title(nullptr);
        FailAt(nFailing);
        const CFloatDlg panel(nullptr);
        FailAt(nFailing);
        const CControlsBarWidget bar(nullptr);
        FailAt(nFailing <= 3 ? nFailing : 3);
        const CPlayStatusWidget strip(nullptr);
        for (const CSkinButton* pButton :
             {title.m_pMenuBtn,       title.m_pMinBtn,        title.m_pMaxBtn,        title.m_pCloseBtn,
              panel.m_pFullScreenBtn, panel.m_pNormalSizeBtn, panel.m_pDoubleSizeBtn, bar.m_pPlayBtn,
              bar.m_pStopBtn,         bar.m_pStartBtn,        bar.m_pEndBtn,          bar.m_pFastBtn,
              bar.m_pSlowBtn,         bar.m_pNextFrameBtn,    bar.m_pLastFrameBtn,    bar.m_pBackBtn,
              bar.m_pSoundBtn,        bar.m_pOpenFileBtn,     bar.m_pLanguageBtn,     bar.m_pToolBoxBtn,
              bar.m_pPlaylistBtn})
            QVERIFY(pButton == nullptr);
        QVERIFY(bar.m_pPlaySlider == nullptr && bar.m_pSoundSlider == nullptr);
        QVERIFY(strip.m_pLeftText == nullptr && strip.m_pRightText == nullptr);
        for (const QWidget* pBar : {static_cast<const QWidget*>(&title), static_cast<const QWidget*>(&panel),
                                    static_cast<const QWidget*>(&bar), static_cast<const QWidget*>(&strip)}) {
            QVERIFY(pBar->findChildren<QWidget*>().isEmpty());
            QVERIFY(pBar->layout() == nullptr);
        }
    }

  private:
    // What a user may do with it.
    static void Work(CTalvioDlg& dlg) {
        dlg.show();
        dlg.OpenItemFile(QStringLiteral("/rec/a.mp4"));
        for (bool (CTalvioDlg::*pCommand)() :
             {&CTalvioDlg::FullScreen, &CTalvioDlg::FullScreen, &CTalvioDlg::OnClickTwoZoomButton,
              &CTalvioDlg::OnClickOneZoomButton, &CTalvioDlg::OnClickTopDiaPlayButton,
              &CTalvioDlg::IsViewPlaylist, &CTalvioDlg::CloseFileList, &CTalvioDlg::Sound, &CTalvioDlg::Fast,
              &CTalvioDlg::NextFrame, &CTalvioDlg::SoundDown, &CTalvioDlg::ChangeLanguage,
              &CTalvioDlg::ShowToolBoxMenu, &CTalvioDlg::ShowSelectMode, &CTalvioDlg::PlayOrPause,
              &CTalvioDlg::Stop})
            (dlg.*pCommand)();
        if (dlg.GetOperate() == nullptr) {
            QVERIFY(!dlg.FullScreen());
            dlg.hide();
            dlg.TopDisplay(1); // nothing tells it the play state
            QVERIFY(!dlg.isVisible());
            dlg.TopDisplay(0);
            QVERIFY(dlg.isVisible());
        }
        // The first part of the centre that was not made says that it has no layout either.
        if (dlg.findChild<CPlayStatusWidget*>() == nullptr) {
            QAction action;
            QVERIFY(!dlg.SwithTopDisplay(&action));
            QVERIFY(!dlg.OnClickTopDiaPlayButton());
        }
        dlg.DrawStatus();
        dlg.ReTranslateUiText();
        QTest::mouseMove(&dlg, QPoint(200, 100));
        QTest::mouseClick(&dlg, Qt::LeftButton, {}, QPoint(748, 200));
        QTest::keyClick(&dlg, Qt::Key_Escape);
        dlg.CloseFile();
        QVERIFY(!dlg.grab().isNull());
    }
};

QTEST_MAIN(CNoMemoryTest)
#include "test_NoMemory.moc"
