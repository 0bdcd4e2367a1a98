// Pictures captured from what plays: single ones, and every one that is displayed.
#include "tests/app/DlgTest.h"
#include "tests/support/FileSizeLimit.h"
#include "tests/support/WaitUntil.h"

#include <QDir>
#include <QMessageBox>
#include <QSignalSpy>
#include <QTest>

#include <atomic>
#include <chrono>
#include <functional>
#include <thread>

namespace {

constexpr std::chrono::seconds kLimit(20);

} // namespace

class CCaptureTest : public QObject {
    Q_OBJECT

  private slots:
    void init() { m_pTest = std::make_unique<CDlgTest>(); }
    void cleanup() { m_pTest.reset(); }

    void ACaptureWritesOnePictureIntoItsFolder();
    void ACaptureTypeOtherThanZeroIsJpeg();
    void AFailedCaptureIsReported();
    void ACaptureIsRefusedWithNothingPlaying();
    void ACaptureEndsContinuousCapture();

    void ContinuousCaptureWritesEveryDisplayedPicture();
    void ContinuousCaptureTakesItsOwnTypeAndFolder();
    void ContinuousCaptureIsOffBeforePlayingAndAfterStop();
    void ContinuousCaptureEndsWithOpeningAnEntry();
    void AFailingContinuousCaptureIsToldOnce();
    void AFullDiskEndsContinuousCaptureWithWholePicturesOnly();
    void ContinuousCaptureRestsWhileStopped();
    void ACaptureThatIsCutShortIsNoError_data();
    void ACaptureThatIsCutShortIsNoError();
    void WhatIsDisplayedBeforeTheNextFilesSizeIsKnownIsCaptured();
    void ContinuousCaptureMeetsEveryOtherCommand();

  private:
    bool FireDisplay() { return m_pTest->Fake().FireDisplay(m_pTest->Fake().OpenPort()); }
    int Captures() { return m_pTest->FilesIn(QDir::currentPath(), QStringLiteral("picture-*")).size(); }

    std::unique_ptr<CDlgTest> m_pTest;
};

void CCaptureTest::ACaptureWritesOnePictureIntoItsFolder() {
    const QString strFolder = m_pTest->File(QStringLiteral("图 片"));
    QVERIFY(QDir().mkdir(strFolder));
    m_pTest->Fake().SetPictureSize(4, 4);
    m_pTest->Play();
    m_pTest->Dlg().SetCapPath(strFolder);
    QVERIFY(m_pTest->Dlg().CapPic());
    QCOMPARE(m_pTest->FilesIn(strFolder, QStringLiteral("picture-*.bmp")).size(), 1);
    QCOMPARE(m_pTest->FilesIn(strFolder, QStringLiteral("*")).size(), 1);
}

void CCaptureTest::ACaptureTypeOtherThanZeroIsJpeg() {
    m_pTest->Fake().SetPictureSize(4, 4);
    m_pTest->Play();
    m_pTest->Dlg().SetCapType(7);
    QVERIFY(m_pTest->Dlg().CapPic());
    QCOMPARE(m_pTest->FilesIn(QDir::currentPath(), QStringLiteral("picture-*.jpeg")).size(), 1);
}

void CCaptureTest::AFailedCaptureIsReported() {
    m_pTest->Fake().SetPictureSize(4, 4);
    m_pTest->Play();
    m_pTest->Dlg().SetCapPath(QStringLiteral("/nowhere/at/all"));
    m_pTest->Dlg().ConCap();
    QString strShown;
    const CModalAnswer answer([&](QDialog* pDialog) {
        const auto* pBox = qobject_cast<QMessageBox*>(pDialog);
        if (pBox != nullptr) {
            strShown = QStringLiteral("%1|%2|%3|%4")
                           .arg(pBox->windowTitle(), pBox->text())
                           .arg(int(pBox->icon()))
                           .arg(int(pBox->standardButtons()));
        }
        pDialog->accept();
    });
    QVERIFY(!m_pTest->Dlg().CapPic());
    QCOMPARE(strShown, QStringLiteral("Warning|Cappic Error !|%1|%2")
                           .arg(int(QMessageBox::Warning))
                           .arg(int(QMessageBox::Ok)));
    QCOMPARE(answer.Count(), 1);
    // Only a capture that succeeds ends the continuous one.
    m_pTest->Fake().TakeCalls();
    m_pTest->Fake().FireDisplay(m_pTest->Fake().OpenPort());
    QCOMPARE(m_pTest->Fake().CountCalls("Dravo_GetBMP"), 1);
}

void CCaptureTest::ACaptureIsRefusedWithNothingPlaying() {
    QVERIFY(!m_pTest->Dlg().CapPic());
    m_pTest->PlayInto(3);
    QVERIFY(!m_pTest->Dlg().CapPic());
    QCOMPARE(m_pTest->Fake().CountCalls("Dravo_GetBMP"), 0);
}

void CCaptureTest::ACaptureEndsContinuousCapture() {
    m_pTest->Fake().SetPictureSize(4, 4);
    m_pTest->Play();
    m_pTest->Dlg().ConCap();
    QVERIFY(m_pTest->Dlg().CapPic());
    m_pTest->Fake().TakeCalls();
    m_pTest->Fake().FireDisplay(m_pTest->Fake().OpenPort());
    QCOMPARE(m_pTest->Fake().CountCalls("Dravo_GetBMP"), 0);
}

void CCaptureTest::ContinuousCaptureWritesEveryDisplayedPicture() {
    m_pTest->Fake().SetPictureSize(4, 4);
    m_pTest->Play();
    QVERIFY(m_pTest->Dlg().ConCap());
    for (int n = 0; n < 120; ++n)
        QVERIFY(FireDisplay());
    QCOMPARE(Captures(), 120);
    QVERIFY(m_pTest->Dlg().ConCap());
    FireDisplay();
    QCOMPARE(Captures(), 120);
}

void CCaptureTest::ContinuousCaptureTakesItsOwnTypeAndFolder() {
    const QString strFolder = m_pTest->File(QStringLiteral("连续"));
    QVERIFY(QDir().mkdir(strFolder));
    m_pTest->Fake().SetPictureSize(4, 4);
    m_pTest->Play();
    m_pTest->Dlg().SetConCapPath(strFolder);
    m_pTest->Dlg().SetConCapType(1);
    m_pTest->Dlg().ConCap();
    FireDisplay();
    QCOMPARE(m_pTest->FilesIn(strFolder, QStringLiteral("picture-*.jpeg")).size(), 1);
    QCOMPARE(Captures(), 0);
}

void CCaptureTest::ContinuousCaptureIsOffBeforePlayingAndAfterStop() {
    m_pTest->Fake().SetPictureSize(4, 4);
    m_pTest->Dlg().ConCap();
    m_pTest->Dlg().ConCapPic();
    m_pTest->Play();
    m_pTest->Dlg().ConCap();
    m_pTest->Dlg().Stop();
    m_pTest->Dlg().PlayOrPause();
    FireDisplay();
    QCOMPARE(Captures(), 0);
}

void CCaptureTest::ContinuousCaptureEndsWithOpeningAnEntry() {
    m_pTest->Fake().SetPictureSize(4, 4);
    m_pTest->Play();
    m_pTest->Dlg().ConCap();
    m_pTest->Play(QStringLiteral("/rec/b.mp4"));
    FireDisplay();
    QCOMPARE(Captures(), 0);
}

void CCaptureTest::AFailingContinuousCaptureIsToldOnce() {
    m_pTest->Fake().SetPictureSize(4, 4);
    m_pTest->Play();
    m_pTest->Dlg().SetConCapPath(QStringLiteral("/nowhere/at/all"));
    m_pTest->Dlg().ConCap();
    const QSignalSpy error(&m_pTest->Dlg(), &CTalvioDlg::SendErrorMsg);
    const CModalAnswer answer([](QDialog* pDialog) { pDialog->accept(); });
    std::thread([&] {
        for (int n = 0; n < 5; ++n)
            FireDisplay();
    }).join();
    QCOMPARE(error.count(), 1);
    QTRY_COMPARE(answer.Count(), 1);
    // It is off now.
    m_pTest->Fake().TakeCalls();
    FireDisplay();
    QCOMPARE(m_pTest->Fake().CountCalls("Dravo_GetBMP"), 0);
}

void CCaptureTest::AFullDiskEndsContinuousCaptureWithWholePicturesOnly() {
    m_pTest->Fake().SetPictureSize(64, 64);
    m_pTest->Fake().SetStills(std::string(1000, 'b'), std::string(1000, 'j'));
    m_pTest->Play();
    m_pTest->Dlg().ConCap();
    const QSignalSpy error(&m_pTest->Dlg(), &CTalvioDlg::SendErrorMsg);
    const CModalAnswer answer([](QDialog* pDialog) { pDialog->accept(); });
    {
        // Stands in for a disk that has room for these pictures and not for a larger one.
        const support::FileSizeLimit limit(1500);
        std::thread([&] {
            for (int n = 0; n < 3; ++n)
                FireDisplay();
            m_pTest->Fake().SetStills(std::string(2000, 'b'), std::string(2000, 'j'));
            for (int n = 0; n < 3; ++n)
                FireDisplay();
        }).join();
    }
    QTRY_COMPARE(answer.Count(), 1);
    QCOMPARE(error.count(), 1);
    // Room again does not bring it back, and nothing lies beside the whole pictures.
    FireDisplay();
    const QFileInfoList lstFiles = QDir().entryInfoList(QDir::Files | QDir::Hidden);
    QCOMPARE(lstFiles.size(), 3);
    for (const QFileInfo& file : lstFiles)
        QCOMPARE(file.size(), 1000);
}

void CCaptureTest::ContinuousCaptureRestsWhileStopped() {
    m_pTest->Fake().SetPictureSize(4, 4);
    m_pTest->PlayInto(3);
    m_pTest->Dlg().ConCap();
    QVERIFY(FireDisplay());
    QCOMPARE(m_pTest->Fake().CountCalls("Dravo_GetBMP"), 0);
    m_pTest->Dlg().PlayOrPause();
    QVERIFY(FireDisplay());
    QCOMPARE(Captures(), 1);
}

void CCaptureTest::ACaptureThatIsCutShortIsNoError_data() {
    using Command = std::function<void(CTalvioDlg&)>;
    QTest::addColumn<Command>("command");
    QTest::newRow("by Stop") << Command([](CTalvioDlg& dlg) { dlg.Stop(); });
    QTest::newRow("by closing") << Command([](CTalvioDlg& dlg) { dlg.CloseFile(); });
    QTest::newRow("by the next file") << Command([](CTalvioDlg& dlg) { dlg.Open(); });
}

void CCaptureTest::ACaptureThatIsCutShortIsNoError() {
    QFETCH(std::function<void(CTalvioDlg&)>, command);
    const CModalAnswer answer([](QDialog* pDialog) { pDialog->accept(); });
    m_pTest->Fake().SetPictureSize(4, 4);
    m_pTest->Play();
    m_pTest->Dlg().ConCap();
    const QSignalSpy error(&m_pTest->Dlg(), &CTalvioDlg::SendErrorMsg);
    // The capture begins, and fails when the stop has begun.
    std::atomic<bool> bCapturing = false;
    std::atomic<bool> bStopping = false;
    m_pTest->Fake().SetHook("Dravo_GetBMP", [&] {
        bCapturing = true;
        support::WaitUntil([&] { return bStopping.load(); }, kLimit);
    });
    m_pTest->Fake().SetResult("Dravo_GetBMP", 0);
    m_pTest->Fake().SetHook("Dravo_Stop", [&] { bStopping = true; });
    std::thread library([&] { FireDisplay(); });
    const bool bBegan = support::WaitUntil([&] { return bCapturing.load(); }, kLimit);
    command(m_pTest->Dlg());
    library.join();
    // The window stops once more at its end, when the flags are gone.
    m_pTest->Fake().SetHook("Dravo_Stop", {});
    m_pTest->Fake().SetHook("Dravo_GetBMP", {});
    QVERIFY(bBegan);
    QVERIFY(bStopping);
    QCoreApplication::processEvents();
    QCOMPARE(error.count(), 0);
    QCOMPARE(answer.Count(), 0);
}

// The next file counts as playing as soon as its first change of speed is done; its size is read after the
// last.
void CCaptureTest::WhatIsDisplayedBeforeTheNextFilesSizeIsKnownIsCaptured() {
    m_pTest->Fake().SetPictureSize(1, 1);
    m_pTest->PlayList({"/rec/a.mp4", "/rec/b.mp4"}, {}, 0, "Playlist Play");
    m_pTest->Dlg().Fast();
    m_pTest->Dlg().Fast();
    m_pTest->Dlg().ConCap();
    const QSignalSpy error(&m_pTest->Dlg(), &CTalvioDlg::SendErrorMsg);
    int nDisplayed = 0;
    m_pTest->Fake().SetHook("Dravo_Fast",
                            [&] { std::thread([&] { nDisplayed += FireDisplay() ? 1 : 0; }).join(); });
    // Too large for a buffer of the first file's size.
    m_pTest->Fake().SetPictureSize(8, 8);
    m_pTest->Fake().SetStills(std::string(200, 'b'), std::string(200, 'j'));
    m_pTest->Dlg().PlayProcess();
    QCOMPARE(m_pTest->Dlg().GetCurFileName(), QStringLiteral("b.mp4"));
    QCOMPARE(nDisplayed, 2);
    QCOMPARE(error.count(), 0);
    QCOMPARE(Captures(), 1);
    QVERIFY(FireDisplay());
    QCOMPARE(Captures(), 2);
}

void CCaptureTest::ContinuousCaptureMeetsEveryOtherCommand() {
    m_pTest->Fake().SetPictureSize(16, 16);
    m_pTest->PlayList({"/rec/a.mp4", "/rec/b.mp4", "/rec/c.mp4"}, {}, 0, "Playlist Repeat");
    std::atomic<bool> bEnd = false;
    // The library's thread, which displays all the time.
    std::thread library([&] {
        while (!bEnd)
            FireDisplay();
    });
    CTalvioDlg& dlg = m_pTest->Dlg();
    for (int n = 0; n < 60; ++n) {
        dlg.ConCap();
        dlg.SetConCapType(n % 2);
        dlg.SetConCapPath(QDir::currentPath());
        dlg.CapPic();
        dlg.ConCap();
        dlg.Stop();
        dlg.PlayOrPause();
        dlg.ConCap();
        dlg.PlayProcess(); // opens the next file with the capture on
        dlg.NextFrame();
        if (n % 3 == 0) dlg.CloseFile();
        dlg.OpenItemFile(n % 2 != 0 ? QStringLiteral("/rec/a.mp4") : QStringLiteral("/rec/b.mp4"));
    }
    dlg.CloseFile();
    bEnd = true;
    library.join();
    QCOMPARE(m_pTest->State(), 0);
}

QTEST_MAIN(CCaptureTest)
#include "test_Capture.moc"
