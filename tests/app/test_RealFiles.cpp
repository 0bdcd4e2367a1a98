// The main window over the playback library itself: which pictures continuous capture writes, the play modes
// to their ends, and how far the status line lies behind.
#include "tests/app/FilmTest.h"
#include "tests/support/XServer.h"
#include "widgets/PlayStatusWidget.h"
#include "widgets/StaticTitle.h"

#include <QDropEvent>
#include <QElapsedTimer>
#include <QMimeData>
#include <QTest>
#include <QTimer>
#include <QUrl>

#include <algorithm>
#include <deque>

namespace fs = std::filesystem;

class CRealFilesTest : public QObject {
    Q_OBJECT

  private slots:
    void init() { m_pTest = std::make_unique<CFilmTest>(); }
    void cleanup() { m_pTest.reset(); }

    void CaptureTakesEachPictureOnceAcrossTheNextFiles();
    void CaptureEndsWithStopAndHasEveryPictureUpToIt();
    void CaptureOutlivesClosingAndTakesTheNextFile();
    void ASingleCaptureEndsItWithANumberOfItsOwn();
    void APictureThatGrowsAndShrinksIsCapturedWhole();
    void CaptureAsJpegFollowsSpeedsAndJumps();

    void EachPlayModeGoesItsWay();
    void PlayingGoesOnFromTheCurrentRowWhenEntriesAreRemoved();
    void AListOfFilesThatAreGoneEndsPlayingOnce();
    void AFileThatCannotBeOpenedEndsTheOneThatPlays();

    void TheStatusLineIsNeverBehindByMoreThanItsPeriod();
    void TheStatusLineNamesThePictureOfAPause();

  private:
    CTalvioDlg& Dlg() { return m_pTest->Dlg(); }

    // Drops a file on the window, which opens it and leaves continuous capture as it is.
    void Drop(const QString& strPath) {
        QMimeData data;
        data.setUrls({QUrl::fromLocalFile(strPath)});
        QDropEvent event(QPointF(300, 20), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        static_cast<QObject&>(Dlg()).event(&event);
    }

    // Opens a film, pauses it at an early picture and switches continuous capture on.
    void CaptureFrom(const QString& strPath, int nFirst) {
        QVERIFY(Dlg().OpenItemFile(strPath));
        QVERIFY(CFilmTest::Until([&] { return m_pTest->Witness().Last() >= nFirst; }));
        QVERIFY(m_pTest->PauseAt(nFirst));
        m_pTest->Witness().Forget();
        QVERIFY(Dlg().ConCap());
    }

    // Every picture that the window was told of while a file was open is in a file of its own, in order. One
    // that was displayed while its file was being opened may be there.
    void ExpectCapturedWhatWasShown() {
        const std::vector<int> vecNumbers = m_pTest->CapturedNumbers();
        auto number = vecNumbers.begin();
        for (const CShown& shown : m_pTest->Witness().Shown()) {
            const bool bOpen = shown.nStateBefore == 1 || shown.nStateBefore == 2;
            const bool bThere = number != vecNumbers.end() && *number == shown.nNumber;
            if (bThere && (bOpen || shown.nStateAfter != 0)) {
                ++number;
                continue;
            }
            QVERIFY2(!bOpen, qPrintable(QStringLiteral("%1 is missing").arg(shown.nNumber)));
        }
        QVERIFY2(number == vecNumbers.end(),
                 qPrintable(QStringLiteral("a picture too many after %1").arg(number - vecNumbers.begin())));
    }

    // Three films of a few pictures in the list, showing 1000, 2000 and 3000 on; the first one current.
    void ListThree(int nFrames = 6) {
        const std::pair<const char*, int> aFilms[] = {{"a.mp4", 1000}, {"b.mp4", 2000}, {"c.mp4", 3000}};
        for (const auto& [pName, nFirst] : aFilms)
            Dlg().AddFile2List(m_pTest->Make(pName, nFirst, nFrames), false);
        m_pTest->List().setCurrentRow(0);
    }
    bool PlayRow(int nRow) {
        m_pTest->List().setCurrentRow(nRow);
        return Dlg().OpenItemFile(m_pTest->List().item(nRow)->statusTip());
    }
    // Which films were displayed, in order: 1, 2, 3.
    std::vector<int> Films() {
        std::vector<int> vecFilms;
        int nBefore = 0;
        for (const CShown& shown : m_pTest->Witness().Shown()) {
            if (vecFilms.empty() || shown.nNumber / 1000 != vecFilms.back() || shown.nNumber < nBefore)
                vecFilms.push_back(shown.nNumber / 1000);
            nBefore = shown.nNumber;
        }
        return vecFilms;
    }

    CStaticText* Progress() { return Dlg().findChild<CPlayStatusWidget*>()->m_pRightText; }
    QTimer* Timer() {
        for (QTimer* pTimer : Dlg().findChildren<QTimer*>(Qt::FindDirectChildrenOnly)) {
            if (pTimer->interval() == 500) return pTimer;
        }
        return nullptr;
    }

    std::unique_ptr<CFilmTest> m_pTest;
};

void CRealFilesTest::CaptureTakesEachPictureOnceAcrossTheNextFiles() {
    const QString strFirst = m_pTest->Make("a.mp4", 1000, 50);
    Dlg().AddFile2List(strFirst, false);
    Dlg().AddFile2List(m_pTest->Make("b.mp4", 2000, 15), false);
    support::ClipOptions larger;
    larger.width = 640;
    larger.height = 360;
    Dlg().AddFile2List(m_pTest->Make("c.mp4", 3000, 15, larger), false);
    m_pTest->List().setCurrentRow(0);
    m_pTest->Action("Playlist Play")->trigger();
    CaptureFrom(strFirst, 1000);
    QVERIFY(Dlg().PlayOrPause());
    QVERIFY(CFilmTest::Until([&] { return m_pTest->State() == 3; }));
    QCOMPARE(Films(), std::vector<int>({1, 2, 3}));
    ExpectCapturedWhatWasShown();
    // The last picture of each was displayed.
    const std::vector<int> vecNumbers = m_pTest->CapturedNumbers();
    for (const int nLast : {1049, 2014, 3014})
        QVERIFY(std::count(vecNumbers.begin(), vecNumbers.end(), nLast) == 1);
}

void CRealFilesTest::CaptureEndsWithStopAndHasEveryPictureUpToIt() {
    CaptureFrom(m_pTest->Make("a.mp4", 1000, 200), 1000);
    QVERIFY(Dlg().PlayOrPause());
    for (int nRound = 0; nRound < 2; ++nRound) {
        QVERIFY(CFilmTest::Until([&] { return m_pTest->Witness().Shown().size() >= 8; }));
        QVERIFY(Dlg().Stop());
        ExpectCapturedWhatWasShown();
        // It stays off.
        const std::size_t nCaptured = m_pTest->Captures().size();
        const std::size_t nShown = m_pTest->Witness().Shown().size();
        QVERIFY(Dlg().PlayOrPause());
        QVERIFY(CFilmTest::Until([&] { return m_pTest->Witness().Shown().size() >= nShown + 3; }));
        QVERIFY(m_pTest->PauseAt(1000));
        QCOMPARE(m_pTest->Captures().size(), nCaptured);
        m_pTest->RemoveCaptures();
        m_pTest->Witness().Forget();
        QVERIFY(Dlg().ConCap());
        QVERIFY(Dlg().PlayOrPause());
    }
}

void CRealFilesTest::CaptureOutlivesClosingAndTakesTheNextFile() {
    const QString strNext = m_pTest->Make("b.mp4", 2000, 200);
    CaptureFrom(m_pTest->Make("a.mp4", 1000, 200), 1000);
    QVERIFY(Dlg().PlayOrPause());
    QVERIFY(CFilmTest::Until([&] { return m_pTest->Witness().Shown().size() >= 8; }));
    QVERIFY(Dlg().CloseFile());
    ExpectCapturedWhatWasShown();
    Drop(strNext);
    QVERIFY(CFilmTest::Until([&] { return m_pTest->Witness().Last() >= 2008; }));
    QVERIFY(Dlg().CloseFile());
    QCOMPARE(Films(), std::vector<int>({1, 2}));
    ExpectCapturedWhatWasShown();
    QVERIFY(m_pTest->CapturedNumbers().back() >= 2008);
}

void CRealFilesTest::ASingleCaptureEndsItWithANumberOfItsOwn() {
    CaptureFrom(m_pTest->Make("a.mp4", 1000, 200), 1000);
    QVERIFY(Dlg().PlayOrPause());
    QVERIFY(CFilmTest::Until([&] { return m_pTest->Witness().Shown().size() >= 8; }));
    QVERIFY(Dlg().CapPic());
    const int nEnd = m_pTest->Witness().Last();
    QVERIFY(CFilmTest::Until([&] { return m_pTest->Witness().Last() >= nEnd + 5; }));
    QVERIFY(Dlg().CloseFile());
    // Without the single one, which came between any two or last, it is what was shown up to then.
    std::vector<int> vecShown;
    for (const CShown& shown : m_pTest->Witness().Shown())
        vecShown.push_back(shown.nNumber);
    const std::vector<int> vecNumbers = m_pTest->CapturedNumbers();
    QVERIFY(vecNumbers.size() >= 9 && vecNumbers.size() <= vecShown.size());
    bool bFound = false;
    for (std::size_t nSingle = 0; nSingle < vecNumbers.size(); ++nSingle) {
        std::vector<int> vecRest = vecNumbers;
        vecRest.erase(vecRest.begin() + static_cast<std::ptrdiff_t>(nSingle));
        bFound = bFound || std::equal(vecRest.begin(), vecRest.end(), vecShown.begin());
    }
    QVERIFY(bFound);
}

void CRealFilesTest::APictureThatGrowsAndShrinksIsCapturedWhole() {
    support::ClipOptions options;
    options.container = support::ClipContainer::RawStream;
    options.sizeChanges = {{20, 640, 360}, {40, 160, 90}};
    const QString strPath = m_pTest->Make("grows.264", 1000, 60, options);
    CaptureFrom(strPath, 1000);
    QVERIFY(Dlg().PlayOrPause());
    QVERIFY(CFilmTest::Until([&] { return m_pTest->State() == 3; }));
    ExpectCapturedWhatWasShown();
    const auto vecFiles = m_pTest->Captures();
    const std::vector<int> vecNumbers = m_pTest->CapturedNumbers();
    QCOMPARE(vecNumbers.back(), 1059);
    int aSizes[3] = {};
    for (std::size_t n = 0; n < vecFiles.size(); ++n) {
        const int nSize = vecNumbers[n] < 1020 ? 0 : vecNumbers[n] < 1040 ? 1 : 2;
        const std::uintmax_t aPixels[] = {320 * 180, 640 * 360, 160 * 90};
        // A row takes a multiple of four bytes; so do these.
        QCOMPARE(fs::file_size(vecFiles[n]), aPixels[nSize] * 3 + 54);
        ++aSizes[nSize];
    }
    QVERIFY(aSizes[0] > 0 && aSizes[1] > 0 && aSizes[2] > 0);
    QVERIFY(m_pTest->Action("Continue Cappic")->isEnabled());
}

void CRealFilesTest::CaptureAsJpegFollowsSpeedsAndJumps() {
    support::ClipOptions options;
    options.bFrames = 2;
    Dlg().SetConCapType(1);
    CaptureFrom(m_pTest->Make("a.mp4", 1000, 600, options), 1000);
    const auto showsMore = [&](std::size_t nPictures) {
        const std::size_t nBefore = m_pTest->Witness().Shown().size();
        return CFilmTest::Until([&] { return m_pTest->Witness().Shown().size() >= nBefore + nPictures; });
    };
    QVERIFY(Dlg().PlayOrPause());
    QVERIFY(showsMore(5));
    QVERIFY(Dlg().Fast());
    QVERIFY(Dlg().Fast());
    QVERIFY(showsMore(5));
    QVERIFY(Dlg().SetPlaySlider(20000));
    QVERIFY(CFilmTest::Until([&] { return m_pTest->Witness().Last() >= 1180; }));
    for (int nLevel = 2; nLevel > -1; --nLevel)
        QVERIFY(Dlg().Slow());
    QVERIFY(showsMore(5));
    QVERIFY(Dlg().SetPlaySlider(2000));
    QVERIFY(CFilmTest::Until([&] { return m_pTest->Witness().Last() < 1180; }));
    QVERIFY(showsMore(5));
    QVERIFY(Dlg().CloseFile());
    ExpectCapturedWhatWasShown();
    for (const fs::path& path : m_pTest->Captures())
        QCOMPARE(path.extension().string(), std::string(".jpeg"));
}

void CRealFilesTest::EachPlayModeGoesItsWay() {
    ListThree();
    const auto stops = [&] { return CFilmTest::Until([&] { return m_pTest->State() == 3; }); };
    // 1: one film.
    QVERIFY(PlayRow(1));
    QVERIFY(stops());
    QCOMPARE(Films(), std::vector<int>({2}));
    // 2: to the end of the list.
    m_pTest->Witness().Forget();
    m_pTest->Action("Playlist Play")->trigger();
    QVERIFY(PlayRow(1));
    QVERIFY(stops());
    QCOMPARE(Films(), std::vector<int>({2, 3}));
    QCOMPARE(m_pTest->List().currentRow(), 2);
    // 3: the same again.
    m_pTest->Witness().Forget();
    m_pTest->Action("Single Repeat")->trigger();
    QVERIFY(PlayRow(0));
    QVERIFY(CFilmTest::Until([&] { return Films().size() >= 3; }));
    QCOMPARE(Films(), std::vector<int>(Films().size(), 1));
    // 4: round and round.
    QVERIFY(Dlg().Stop()); // the same one would show itself again
    m_pTest->Witness().Forget();
    m_pTest->Action("Playlist Repeat")->trigger();
    QVERIFY(PlayRow(1));
    QVERIFY(CFilmTest::Until([&] { return Films().size() >= 5; }));
    const std::vector<int> vecFilms = Films();
    QCOMPARE(std::vector<int>(vecFilms.begin(), vecFilms.begin() + 5), std::vector<int>({2, 3, 1, 2, 3}));
    // With one entry it stops.
    Dlg().CloseFile();
    Dlg().ClearFile();
    m_pTest->Witness().Forget();
    Dlg().AddFile2List(m_pTest->Path("a.mp4"), false);
    QVERIFY(PlayRow(0));
    QVERIFY(stops());
    QCOMPARE(Films(), std::vector<int>({1}));
}

void CRealFilesTest::PlayingGoesOnFromTheCurrentRowWhenEntriesAreRemoved() {
    ListThree(30);
    m_pTest->Action("Playlist Play")->trigger();
    QVERIFY(PlayRow(0));
    QVERIFY(CFilmTest::Until([&] { return m_pTest->Witness().Last() >= 1000; }));
    // The second becomes the current row, and the one behind it is next.
    QVERIFY(Dlg().DeleteFile());
    QCOMPARE(m_pTest->List().currentRow(), 0);
    QVERIFY(CFilmTest::Until([&] { return m_pTest->State() == 3; }));
    QCOMPARE(Films(), std::vector<int>({1, 3}));
    // With all of them gone the film that plays is the last.
    m_pTest->Witness().Forget();
    m_pTest->Action("Playlist Repeat")->trigger();
    QVERIFY(PlayRow(0));
    QVERIFY(CFilmTest::Until([&] { return m_pTest->Witness().Last() >= 2000; }));
    QVERIFY(Dlg().ClearFile());
    QVERIFY(CFilmTest::Until([&] { return m_pTest->State() == 3; }));
    QCOMPARE(Films(), std::vector<int>({2}));
}

void CRealFilesTest::AListOfFilesThatAreGoneEndsPlayingOnce() {
    ListThree();
    m_pTest->Action("Playlist Repeat")->trigger();
    int nEnds = 0;
    connect(&Dlg(), &CTalvioDlg::FileEndMsg, this, [&] { ++nEnds; });
    QVERIFY(PlayRow(2));
    for (const char* pName : {"a.mp4", "b.mp4", "c.mp4"})
        fs::remove(m_pTest->Path(pName).toStdString());
    QVERIFY(CFilmTest::Until([&] { return m_pTest->State() == 0; }));
    QTest::qWait(50);
    QCOMPARE(nEnds, 1);
    QCOMPARE(m_pTest->List().count(), 3);
    QCOMPARE(Films(), std::vector<int>({3}));
}

void CRealFilesTest::AFileThatCannotBeOpenedEndsTheOneThatPlays() {
    ListThree();
    m_pTest->Make("a.mp4", 1000, 50); // longer than the timer's period
    QVERIFY(PlayRow(0));
    QVERIFY(CFilmTest::Until([&] { return !Progress()->GetStaticText().isEmpty(); }));
    m_pTest->Action("Playlist Play")->trigger();
    fs::remove(m_pTest->Path("b.mp4").toStdString());
    fs::create_directory(m_pTest->Path("b.mp4").toStdString());
    // By double click it is refused, and what plays goes on; by the play mode it is opened.
    QVERIFY(!Dlg().OpenItemFile(m_pTest->Path("b.mp4")));
    QCOMPARE(Dlg().GetCurFileName(), QStringLiteral("a.mp4"));
    QVERIFY(CFilmTest::Until([&] { return m_pTest->State() == 0; }));
    QCOMPARE(Progress()->GetStaticText(), QString());
    QVERIFY(Timer()->isActive());
    QVERIFY(PlayRow(2));
    QVERIFY(CFilmTest::Until([&] { return m_pTest->Witness().Last() >= 3000; }));
}

// What the text names was current when the timer fired last, and the timer fires each period, if not for the
// time that this program itself was kept from running.
void CRealFilesTest::TheStatusLineIsNeverBehindByMoreThanItsPeriod() {
    QVERIFY(Dlg().OpenItemFile(m_pTest->Make("a.mp4", 1000, 60)));
    QTimer* pTimer = Timer();
    QVERIFY(pTimer != nullptr);
    QCOMPARE(pTimer->timerType(), Qt::PreciseTimer); // a coarse one takes a twentieth more
    QElapsedTimer clock;
    clock.start();
    struct Turn {
        qint64 nTime = 0;
        int nFrame = 0;
    };
    std::deque<Turn> turns; // of the last seconds
    qint64 nLongestTurn = 0;
    int nTexts = 0;
    int nFaults = 0;
    QString strBefore;
    const bool bEnded = CFilmTest::Until([&] {
        const Turn now{clock.elapsed(), static_cast<int>(Dlg().GetOperate()->GetCurrentFrame())};
        if (!turns.empty()) nLongestTurn = std::max(nLongestTurn, now.nTime - turns.back().nTime);
        turns.push_back(now);
        const QString strText = Progress()->GetStaticText();
        if (m_pTest->State() != 1) return true;
        if (strText.isEmpty()) return false;
        nTexts += strText != strBefore ? 1 : 0;
        strBefore = strText;
        const int nNamed = strText.section('/', 0, 0).toInt();
        // The oldest picture that may still be named.
        const qint64 nOldest = now.nTime - pTimer->interval() - nLongestTurn - 1;
        int nLeast = 0;
        for (const Turn& turn : turns) {
            if (turn.nTime <= nOldest) nLeast = turn.nFrame;
        }
        if (nNamed < nLeast || nNamed > now.nFrame) {
            qWarning("names %d, at least %d, at most %d, longest turn %lld", nNamed, nLeast, now.nFrame,
                     static_cast<long long>(nLongestTurn));
            ++nFaults;
        }
        return false;
    });
    QVERIFY(bEnded);
    QCOMPARE(nFaults, 0);
    QVERIFY(nTexts >= 2); // more than two seconds of film
}

void CRealFilesTest::TheStatusLineNamesThePictureOfAPause() {
    QVERIFY(Dlg().OpenItemFile(m_pTest->Make("a.mp4", 1000, 100)));
    QVERIFY(CFilmTest::Until([&] { return m_pTest->Witness().Last() >= 1003; }));
    QVERIFY(m_pTest->PauseAt(1000));
    const auto names = [&] { return Progress()->GetStaticText().section('/', 0, 0).toInt(); };
    for (const bool bForward : {true, true, false, true, false, false}) {
        QVERIFY(bForward ? Dlg().NextFrame() : Dlg().LastFrame());
        Dlg().DrawStatus();
        QVERIFY(CFilmTest::Until([&] { return m_pTest->Witness().Last() == 1000 + names(); }));
    }
    // It stands as long as the picture does.
    const int nNamed = names();
    QTest::qWait(600);
    QCOMPARE(names(), nNamed);
    QCOMPARE(m_pTest->Witness().Last(), 1000 + nNamed);
}

int main(int nArgs, char** ppArgs) {
    const support::XServer server;
    qputenv("DISPLAY", server.Display().c_str());
    qputenv("QT_QPA_PLATFORM", "xcb");
    const QApplication app(nArgs, ppArgs);
    CRealFilesTest test;
    return QTest::qExec(&test, nArgs, ppArgs);
}

#include "test_RealFiles.moc"
