// Keeps a held-down key from running on after its release.
//
// A key that is held repeats at the keyboard's rate; when its command takes longer than that, the repeats
// queue up. This class keeps one repeat at most: the newest waits until all input that has arrived is read,
// and the key's release, or another key, takes it back. GUI thread only.
#pragma once

#include <QObject>
#include <QTimer>

class CKeyRepeat : public QObject {
    Q_OBJECT

  public:
    CKeyRepeat();

    // A repeat of a held key has arrived; Repeated is emitted for it once no more input is waiting.
    void Put(int nKey, Qt::KeyboardModifiers modifiers);
    // Forgets the repeat that waits.
    void Drop();

  signals:
    void Repeated(int nKey, Qt::KeyboardModifiers modifiers);

  private:
    void OnIdle();

    QTimer m_timer; // of no length: fires when the waiting input has been read
    int m_nKey = 0;
    Qt::KeyboardModifiers m_modifiers = Qt::NoModifier;
};
