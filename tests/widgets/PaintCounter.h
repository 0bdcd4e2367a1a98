// Counts the paint events of one widget.
#pragma once

#include <QEvent>
#include <QWidget>

class CPaintCounter : public QObject {
  public:
    explicit CPaintCounter(QWidget* pWidget) { pWidget->installEventFilter(this); }

    // Paint events since the last time.
    int Taken() {
        const int nTaken = m_nPaints;
        m_nPaints = 0;
        return nTaken;
    }

    bool eventFilter(QObject* pObject, QEvent* pEvent) override {
        if (pEvent->type() == QEvent::Paint) ++m_nPaints;
        return QObject::eventFilter(pObject, pEvent);
    }

  private:
    int m_nPaints = 0;
};
