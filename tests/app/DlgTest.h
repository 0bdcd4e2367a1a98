// A main window over the recording library, in a working directory of its own, and what tests ask of it.
#pragma once

#include "app/TalvioDlg.h"
#include "engine/Operate.h"
#include "tests/fakes/DravoFake.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/widgets/ShownSkin.h"

#include <QDialog>
#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QTimer>

#include <functional>
#include <memory>
#include <string>
#include <vector>

class QAction;
class QMenu;

class CDlgTest {
  public:
    // Resets the recording library and builds the window. The first file opened gets port 2: port 1 tests
    // files.
    CDlgTest();
    // Destroys the window, and the facade, which the window leaves behind.
    ~CDlgTest();
    CDlgTest(const CDlgTest&) = delete;
    CDlgTest& operator=(const CDlgTest&) = delete;

    DravoFake& Fake() { return DravoFake::Get(); }
    CTalvioDlg& Dlg() { return *m_pDlg; }
    // Destroys the window now.
    void Close();

    // Opens and plays a file that the library accepts; the calls up to here are forgotten.
    void Play(const QString& strPath = QStringLiteral("/rec/a.mp4"));
    // The same, then brings it into a play state: 1 playing, 2 paused, 3 stopped.
    void PlayInto(int nState);
    int State() { return m_pDlg->GetOperate()->GetCurrentState(); }

    // The calls since the last time, queries left out that do nothing to the file.
    QStringList Commands();

    // A name inside the working directory.
    QString File(const QString& strName) const;
    // Writes a file there.
    QString WriteFile(const QString& strName, const QByteArray& content) const;
    QStringList FilesIn(const QString& strFolder, const QString& strPattern) const;

    // The window's own action with that English text; the first of two.
    QAction* Action(const QString& strText);
    // The window's popup menus in order of creation: video, main, playlist, tool box.
    QList<QMenu*> Menus();
    // "Open File, -, Play Control [Locate, ...]": the entries of a menu.
    static QString Entries(const QMenu* pMenu);
    template <typename Widget>
    Widget* Find() {
        return m_pDlg->findChild<Widget*>();
    }

    QString LeftText();
    QString RightText();
    QStringList Playlist();
    // Lists these files, some of them marked, chooses the play mode by its action's text, and plays the file
    // of the row, which becomes the current one; the calls up to here are forgotten.
    void PlayList(const QStringList& lstPaths, const QList<int>& lstMarked, int nRow, const char* pMode);

    // The rows of the playlist that are marked as unplayable.
    QList<int> MarkedRows();

  private:
    support::TemporaryFolder m_folder;
    QString m_strFormerFolder;
    std::unique_ptr<CTalvioDlg> m_pDlg;
};

// Answers the next modal dialogs: each time one is open, `answer` gets it.
class CModalAnswer : public QObject {
    Q_OBJECT

  public:
    explicit CModalAnswer(std::function<void(QDialog*)> answer);
    int Count() const { return m_nCount; }

  private:
    void OnTimer();

    std::function<void(QDialog*)> m_answer;
    QTimer m_timer;
    int m_nCount = 0;
};
