// A push button drawn entirely from bitmaps: one for rest, one under the mouse, one while held down.
#pragma once

#include <QPushButton>
#include <QString>

class CSkinButton : public QPushButton {
    Q_OBJECT

  public:
    explicit CSkinButton(QWidget* pParent);

    // Resource paths of the three images, unchecked; repaints at once. Without a normal and a hover path
    // nothing but the plain push button is drawn.
    void SetBitMap(QString strNormal, QString strHover, QString strPressed);
    // The tool tip, which is also the accessible name. An empty text puts the last non-empty one back.
    void SetToolTipText(QString strText);
    // Marks a button of the title bar.
    void SetTitleButton(bool bTitle);
    bool IsTitleButton() const { return m_bTitleButton; }

  signals:
    // After every mouse release, and after clicked(), whether the mouse is still over the button or not.
    void ReleaseButton();
    // True on mouse press, false on release: tells the title bar not to take the press for a drag.
    void SetTitleButtonStatus(bool bFlag);

  protected:
    bool event(QEvent* pEvent) override;
    void mousePressEvent(QMouseEvent* pEvent) override;
    void mouseReleaseEvent(QMouseEvent* pEvent) override;
    void enterEvent(QEnterEvent* pEvent) override;
    void leaveEvent(QEvent* pEvent) override;
    void paintEvent(QPaintEvent* pEvent) override;

  private:
    bool m_bTitleButton = false;
    bool m_bHover = false;
    bool m_bPressed = false;
    QString m_strToolTip = QStringLiteral("");
    QString m_strNormal = QStringLiteral("");
    QString m_strHover = QStringLiteral("");
    QString m_strPressed = QStringLiteral("");
};
