// A main window over the playback library itself, on an X server, with films of numbered pictures.
#pragma once

#include "app/TalvioDlg.h"
#include "engine/Operate.h"
#include "engine/PlayEvents.h"
#include "playlist/ListBox.h"
#include "tests/support/ClipMaker.h"
#include "tests/support/TemporaryFolder.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QString>
#include <QThread>

#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

class QAction;

// A picture that the library displayed, and the play state before and after the window was told.
struct CShown {
    int nNumber = -1;
    int nStateBefore = 0;
    int nStateAfter = 0;
};

// Stands between the library and the window, and reads each displayed picture's number before the window
// hears of it.
class CWitness : public CPlayEvents {
  public:
    explicit CWitness(CTalvioDlg* pDlg);
    ~CWitness() override;

    void SendMsg(int nCode) override { m_pDlg->SendMsg(nCode); }
    void ConCapPic() override;
    void CaptureFailed() override { m_pDlg->CaptureFailed(); }

    std::vector<CShown> Shown() const;
    // The number displayed last; -1 for none.
    int Last() const;
    void Forget();

  private:
    // The number of the picture that is being displayed.
    int NumberOfPicture();

    CTalvioDlg* const m_pDlg;
    int m_nPort = 1; // on the thread that displays, of which there is one at a time
    mutable std::mutex m_mutex;
    std::vector<CShown> m_vecShown; // guarded by m_mutex
};

class CFilmTest {
  public:
    // A window in a working folder of its own; no sound server is asked.
    CFilmTest();
    // Destroys the window, and the facade, which the window leaves behind.
    ~CFilmTest();
    CFilmTest(const CFilmTest&) = delete;
    CFilmTest& operator=(const CFilmTest&) = delete;

    CTalvioDlg& Dlg() { return *m_pDlg; }
    CWitness& Witness() { return *m_pWitness; }
    CListBox& List() { return *m_pDlg->findChild<CListBox*>(); }
    int State() { return m_pDlg->GetOperate()->GetCurrentState(); }

    QString Path(const char* pName) const { return QString::fromStdString(m_folder / pName); }
    // Makes a film that shows numbers from `nFirst` on.
    QString Make(const char* pName, int nFirst, int nFrames, support::ClipOptions options = {});
    // The window's own action with that English text.
    QAction* Action(const char* pText);

    // Serves the window until the condition holds; false when it does not in half a minute.
    template <typename Condition>
    static bool Until(const Condition& condition) {
        const QDeadlineTimer deadline(30000);
        while (!condition()) {
            if (deadline.hasExpired()) return false;
            QCoreApplication::processEvents();
            QThread::msleep(1);
        }
        return true;
    }

    // Pauses by a step, and waits until the picture of that step has been displayed and the window told.
    bool PauseAt(int nFirst);

    // The captured pictures in the order of their counters, which must follow one another without a gap.
    std::vector<std::filesystem::path> Captures() const;
    // The numbers that they show.
    std::vector<int> CapturedNumbers() const;
    // Removes them; the counter goes on.
    void RemoveCaptures();

  private:
    support::TemporaryFolder m_folder;
    QString m_strFormerFolder;
    int m_nNextCounter = 0;       // of the first capture that is there
    const std::string m_strStart; // local time in the digits of a capture's name
    std::unique_ptr<CTalvioDlg> m_pDlg;
    std::unique_ptr<CWitness> m_pWitness;
};
