// The status strip over the video's bottom edge: the play state at the left, frame and time at the right.
#pragma once

#include <QWidget>

class CStaticText;
class QHBoxLayout;

class CPlayStatusWidget : public QWidget {
    Q_OBJECT

  public:
    explicit CPlayStatusWidget(QWidget* pParent);

    bool CreateStaticText();

    // Written by the window; null when building failed.
    CStaticText* m_pLeftText = nullptr;
    CStaticText* m_pRightText = nullptr;

  protected:
    void paintEvent(QPaintEvent* pEvent) override;
    void showEvent(QShowEvent* pEvent) override;

  private:
    QHBoxLayout* m_pLayout = nullptr;
};
