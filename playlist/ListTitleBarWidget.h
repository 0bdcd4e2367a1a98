// The strip of the playlist panel with the caption and five buttons.
#pragma once

#include <QWidget>

class CSkinButton;
class CStaticText;
class QHBoxLayout;

class CListTitleBar : public QWidget {
    Q_OBJECT

  public:
    // When building fails the bar stays empty.
    explicit CListTitleBar(QWidget* pParent);
    ~CListTitleBar() override;

    bool CreateAllCtrl();

    // Public for the window's images, texts and connections; null when building failed.
    QHBoxLayout* m_pLayout = nullptr;
    CStaticText* m_pTitle = nullptr;
    CSkinButton* m_pAddBtn = nullptr;
    CSkinButton* m_pDeleteBtn = nullptr;
    CSkinButton* m_pClearBtn = nullptr;
    CSkinButton* m_pModeBtn = nullptr;
    CSkinButton* m_pCloseBtn = nullptr;

  protected:
    void paintEvent(QPaintEvent* pEvent) override;
};
