// How files come into the playlist: by the chooser, and dropped on the window.
#include "playlist/ListBox.h"
#include "tests/app/DlgTest.h"

#include <QApplication>
#include <QDir>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFileDialog>
#include <QLineEdit>
#include <QMimeData>
#include <QTest>

class CPlaylistFilesTest : public QObject {
    Q_OBJECT

  private slots:
    void init() { m_pTest = std::make_unique<CDlgTest>(); }
    void cleanup() { m_pTest.reset(); }

    void TheChooserOffersItsFilterCaptionAndFolder();
    void ThreeFilesOfWhichTheSecondPlays();
    void AllRejectedFilesAreListedAndNothingOpens();
    void ACancelledChooserChangesNothing();
    void TheChooserOpensWhereTheLastAcceptedFileWas();
    void AddFileOpensNothing();
    void AFirstAcceptedFileThatIsListedIsOpenedAgain();
    void TheRowStaysFromTheSecondAcceptedFileOn();

    void TheMainWindowTakesCopiesAndMoves_data();
    void TheMainWindowTakesCopiesAndMoves();
    void ACopiedDropOpensItsFirstPlayableFile();
    void AMovedDropOpensNothing();
    void ARejectedFileIsNotListedByADrop();
    void ALinkDropIsIgnoredByTheWindow();
    void ADropOfTextOrRemoteUrlsAddsNothing();
    void ADropOfTheSameFileTwiceListsItOnce();
    void ACopiedDropOfAListedFileOpensIt();

  private:
    CListBox* List() { return m_pTest->Find<CListBox>(); }
    // Answers the next file chooser with these names of the working directory.
    std::unique_ptr<CModalAnswer> Choose(const QStringList& lstNames) {
        return std::make_unique<CModalAnswer>([this, lstNames](QDialog* pDialog) {
            auto* pChooser = qobject_cast<QFileDialog*>(pDialog);
            if (pChooser == nullptr) return;
            m_strChooser = QStringLiteral("%1|%2|%3|%4")
                               .arg(pChooser->windowTitle(), pChooser->directory().path(),
                                    pChooser->nameFilters().join(QStringLiteral(";;")))
                               .arg(int(pChooser->fileMode()));
            QStringList lstQuoted;
            for (const QString& strName : lstNames)
                lstQuoted.append('"' + strName + '"');
            pChooser->findChild<QLineEdit*>()->setText(lstQuoted.join(' '));
            if (lstNames.isEmpty()) {
                pChooser->reject();
            } else {
                static_cast<QDialog*>(pChooser)->accept();
            }
        });
    }
    // Three files there; those named are refused by the library.
    void MakeFiles(const QStringList& lstNames, const QStringList& lstRefused) {
        for (const QString& strName : lstNames)
            m_pTest->WriteFile(strName, "x");
        for (const QString& strName : lstRefused)
            m_pTest->Fake().RefuseFile(m_pTest->File(strName).toStdString());
    }
    bool Drop(const QStringList& lstUrls, Qt::DropAction action) {
        QMimeData data;
        QList<QUrl> lst;
        for (const QString& strUrl : lstUrls)
            lst.append(QUrl(strUrl));
        data.setUrls(lst);
        QDropEvent event(QPointF(300, 20), action, &data, Qt::LeftButton, Qt::NoModifier);
        event.ignore();
        // Sent by the toolkit, it would go to the target of a real drag.
        static_cast<QObject&>(m_pTest->Dlg()).event(&event);
        return event.isAccepted();
    }

    std::unique_ptr<CDlgTest> m_pTest;
    QString m_strChooser;
};

void CPlaylistFilesTest::TheChooserOffersItsFilterCaptionAndFolder() {
    {
        const auto answer = Choose({});
        m_pTest->Dlg().AddFile();
    }
    QCOMPARE(m_strChooser, QStringLiteral("Open File|%1|ALL File (*.*);;Media File (*.mp4 *.264)|%2")
                               .arg(QDir::currentPath())
                               .arg(int(QFileDialog::ExistingFiles)));
}

void CPlaylistFilesTest::ThreeFilesOfWhichTheSecondPlays() {
    MakeFiles({"1.mp4", "2.mp4", "3.mp4"}, {"1.mp4", "3.mp4"});
    {
        const auto answer = Choose({"1.mp4", "2.mp4", "3.mp4"});
        QVERIFY(m_pTest->Dlg().OpenFile());
    }
    QCOMPARE(m_pTest->Playlist(),
             QStringList({m_pTest->File("1.mp4"), m_pTest->File("2.mp4"), m_pTest->File("3.mp4")}));
    QCOMPARE(m_pTest->MarkedRows(), QList<int>({0, 2}));
    QCOMPARE(m_pTest->State(), 1);
    QCOMPARE(m_pTest->Dlg().GetCurFileName(), QStringLiteral("2.mp4"));
    QCOMPARE(List()->currentRow(), 2);
}

void CPlaylistFilesTest::AllRejectedFilesAreListedAndNothingOpens() {
    MakeFiles({"1.mp4", "2.mp4"}, {"1.mp4", "2.mp4"});
    const auto answer = Choose({"1.mp4", "2.mp4"});
    QVERIFY(m_pTest->Dlg().OpenFile()); // the timer exists
    QCOMPARE(m_pTest->MarkedRows(), QList<int>({0, 1}));
    QCOMPARE(m_pTest->State(), 0);
    QString strPath;
    QVERIFY(!m_pTest->Dlg().BrowseFile(&strPath));
    QVERIFY(strPath.isNull());
}

void CPlaylistFilesTest::ACancelledChooserChangesNothing() {
    const auto answer = Choose({});
    QVERIFY(!m_pTest->Dlg().AddFile());
    QVERIFY(m_pTest->Dlg().OpenFile());
    QVERIFY(m_pTest->Playlist().isEmpty());
    QVERIFY(m_pTest->Fake().Calls().empty());
}

void CPlaylistFilesTest::TheChooserOpensWhereTheLastAcceptedFileWas() {
    QVERIFY(QDir().mkdir(m_pTest->File("good")));
    QVERIFY(QDir().mkdir(m_pTest->File("bad")));
    MakeFiles({"good/1.mp4", "good/2.mp4", "bad/3.mp4"}, {"good/1.mp4", "bad/3.mp4"});
    const auto choose = [&](const QStringList& lstNames) {
        const auto answer = Choose(lstNames);
        m_pTest->Dlg().AddFile();
        return m_strChooser.section('|', 1, 1);
    };
    QCOMPARE(choose({m_pTest->File("good/1.mp4"), m_pTest->File("good/2.mp4")}), QDir::currentPath());
    // Nothing accepted, and nothing chosen.
    QCOMPARE(choose({m_pTest->File("bad/3.mp4")}), m_pTest->File("good"));
    QCOMPARE(List()->count(), 3);
    QCOMPARE(choose({}), m_pTest->File("good"));
    QCOMPARE(choose({}), m_pTest->File("good"));
}

void CPlaylistFilesTest::AddFileOpensNothing() {
    m_pTest->Play();
    MakeFiles({"1.mp4", "2.mp4"}, {});
    const auto answer = Choose({"1.mp4", "2.mp4"});
    QVERIFY(m_pTest->Dlg().AddFile());
    // What is current is named at once; what plays goes on.
    QCOMPARE(m_pTest->Dlg().GetCurFileName(), QStringLiteral("1.mp4"));
    QCOMPARE(m_pTest->Fake().CountCalls("Dravo_Play"), 0);
    QCOMPARE(m_pTest->Fake().CountCalls("Dravo_Stop("), 0);
    QCOMPARE(m_pTest->State(), 1);
}

void CPlaylistFilesTest::AFirstAcceptedFileThatIsListedIsOpenedAgain() {
    MakeFiles({"1.mp4"}, {});
    m_pTest->Dlg().AddFile2List(m_pTest->File("1.mp4"), false);
    const auto answer = Choose({"1.mp4"});
    QVERIFY(m_pTest->Dlg().OpenFile());
    QCOMPARE(List()->count(), 1);
    QCOMPARE(m_pTest->State(), 1);
}

void CPlaylistFilesTest::TheRowStaysFromTheSecondAcceptedFileOn() {
    MakeFiles({"1.mp4", "2.mp4", "3.mp4", "4.mp4"}, {"2.mp4"});
    {
        const auto answer = Choose({"1.mp4", "2.mp4", "3.mp4", "4.mp4"});
        QVERIFY(m_pTest->Dlg().AddFile());
    }
    QCOMPARE(List()->currentRow(), 1);
    QCOMPARE(List()->count(), 4);
    // Drops go by the last batch too, and a chooser that is cancelled is none.
    Drop({"file:///rec/d.mp4"}, Qt::MoveAction);
    QCOMPARE(List()->currentRow(), 1);
    const auto cancel = Choose({});
    QVERIFY(!m_pTest->Dlg().AddFile());
    Drop({"file:///rec/e.mp4"}, Qt::CopyAction);
    QCOMPARE(List()->currentRow(), 1);
    QCOMPARE(List()->count(), 6);
}

void CPlaylistFilesTest::TheMainWindowTakesCopiesAndMoves_data() {
    QTest::addColumn<int>("action");
    QTest::addColumn<bool>("urls");
    QTest::addColumn<bool>("taken");
    QTest::newRow("copy") << int(Qt::CopyAction) << true << true;
    QTest::newRow("move") << int(Qt::MoveAction) << true << true;
    QTest::newRow("link") << int(Qt::LinkAction) << true << false;
    QTest::newRow("text") << int(Qt::CopyAction) << false << false;
}

void CPlaylistFilesTest::TheMainWindowTakesCopiesAndMoves() {
    QFETCH(int, action);
    QFETCH(bool, urls);
    QFETCH(bool, taken);
    QMimeData data;
    if (urls) {
        data.setUrls({QUrl("file:///a.mp4")});
    } else {
        data.setText("a");
    }
    QDragEnterEvent enter(QPoint(300, 20), Qt::DropAction(action), &data, Qt::LeftButton, Qt::NoModifier);
    enter.ignore();
    QCoreApplication::sendEvent(&m_pTest->Dlg(), &enter);
    QCOMPARE(enter.isAccepted(), taken);
    QDragMoveEvent move(QPoint(301, 20), Qt::DropAction(action), &data, Qt::LeftButton, Qt::NoModifier);
    move.ignore();
    // Sent by the toolkit, it would go to the target of a real drag.
    static_cast<QObject&>(m_pTest->Dlg()).event(&move);
    QCOMPARE(move.isAccepted(), taken);
}

void CPlaylistFilesTest::ACopiedDropOpensItsFirstPlayableFile() {
    m_pTest->Fake().RefuseFile("/rec/1.mp4");
    QVERIFY(Drop({"file:///rec/1.mp4", "file:///rec/2.mp4", "file:///rec/3.mp4"}, Qt::CopyAction));
    QCOMPARE(m_pTest->Playlist(), QStringList({"/rec/2.mp4", "/rec/3.mp4"}));
    QCOMPARE(m_pTest->State(), 1);
    QCOMPARE(m_pTest->Dlg().GetCurFileName(), QStringLiteral("2.mp4"));
    QCOMPARE(List()->currentRow(), 1);
}

void CPlaylistFilesTest::AMovedDropOpensNothing() {
    QVERIFY(Drop({"file:///rec/1.mp4", "file:///rec/2.mp4"}, Qt::MoveAction));
    QCOMPARE(m_pTest->Playlist(), QStringList({"/rec/1.mp4", "/rec/2.mp4"}));
    QCOMPARE(m_pTest->State(), 0);
}

void CPlaylistFilesTest::ARejectedFileIsNotListedByADrop() {
    m_pTest->Fake().SetResult("Dravo_OpenFile", 0);
    Drop({"file:///rec/1.mp4"}, Qt::CopyAction);
    Drop({"file:///rec/1.mp4"}, Qt::MoveAction);
    QVERIFY(m_pTest->Playlist().isEmpty());
    QCOMPARE(m_pTest->State(), 0);
}

void CPlaylistFilesTest::ALinkDropIsIgnoredByTheWindow() {
    QVERIFY(!Drop({"file:///rec/1.mp4"}, Qt::LinkAction));
    QVERIFY(m_pTest->Playlist().isEmpty());
}

void CPlaylistFilesTest::ADropOfTextOrRemoteUrlsAddsNothing() {
    Drop({"http://example.com/1.mp4"}, Qt::CopyAction);
    QVERIFY(m_pTest->Playlist().isEmpty());
    QMimeData data;
    data.setText(QStringLiteral("file:///rec/1.mp4"));
    QDropEvent event(QPointF(300, 20), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    static_cast<QObject&>(m_pTest->Dlg()).event(&event);
    QVERIFY(!event.isAccepted());
    QVERIFY(m_pTest->Playlist().isEmpty());
    QVERIFY(m_pTest->Fake().Calls().empty());
}

void CPlaylistFilesTest::ADropOfTheSameFileTwiceListsItOnce() {
    Drop({"file:///rec/1.mp4", "file:///rec/1.mp4"}, Qt::CopyAction);
    QCOMPARE(m_pTest->Playlist(), QStringList({"/rec/1.mp4"}));
}

void CPlaylistFilesTest::ACopiedDropOfAListedFileOpensIt() {
    m_pTest->Dlg().AddFile2List(QStringLiteral("/rec/1.mp4"), false);
    m_pTest->Dlg().AddFile2List(QStringLiteral("/rec/2.mp4"), false);
    Drop({"file:///rec/1.mp4"}, Qt::CopyAction);
    QCOMPARE(m_pTest->State(), 1);
    QCOMPARE(m_pTest->Dlg().GetCurFileName(), QStringLiteral("1.mp4"));
    QCOMPARE(List()->count(), 2);
    QCOMPARE(List()->currentRow(), 1);
}

int main(int nArgs, char** ppArgs) {
    // The toolkit's own chooser, as in the program.
    QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    const QApplication app(nArgs, ppArgs);
    CPlaylistFilesTest test;
    return QTest::qExec(&test, nArgs, ppArgs);
}

#include "test_PlaylistFiles.moc"
