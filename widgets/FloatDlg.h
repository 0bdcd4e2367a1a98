// The small panel over the video's top edge: full screen, normal size, double size.
#pragma once

#include <QWidget>

class CSkinButton;
class QHBoxLayout;

class CFloatDlg : public QWidget {
    Q_OBJECT

  public:
    explicit CFloatDlg(QWidget* pParent);

    bool CreateButtons();
    // The buttons' images; nothing when one of them is missing.
    void SetButtonsBitMap();

    // Connected by the main window; null when building failed.
    CSkinButton* m_pFullScreenBtn = nullptr;
    CSkinButton* m_pNormalSizeBtn = nullptr;
    CSkinButton* m_pDoubleSizeBtn = nullptr;

  protected:
    void paintEvent(QPaintEvent* pEvent) override;
    void showEvent(QShowEvent* pEvent) override;

  private:
    QHBoxLayout* m_pLayout = nullptr;
};
