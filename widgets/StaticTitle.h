// A label with an optional background bitmap and one line of white text, which reports clicks.
#pragma once

#include <QLabel>
#include <QString>

class CStaticText : public QLabel {
    Q_OBJECT

  public:
    explicit CStaticText(QWidget* pParent);

    // The text drawn over the bitmap and its alignment: 0 centred, 1 left, 2 right, any other stores the text
    // but draws none. Ignored for a null text or a negative alignment; an empty text clears. Repaints at
    // once. A text given with QLabel::setText is drawn by the label itself, under this one.
    void SetStaticText(QString strText, int nAlign);
    // Resource path of the background, stretched over the label; empty for none, ignored when null.
    void SetStaticTextBitMap(QString strPath);
    QString GetStaticText() const { return m_strText; }

    // Set by the owner: the number sent with StaticCliecked, and the heading style (top left, the widget's
    // own font).
    int m_nType = 0;
    bool m_bHeading = false;

  signals:
    // A press on the label has been released, wherever.
    void StaticCliecked(int nType);

  protected:
    void mousePressEvent(QMouseEvent* pEvent) override;
    void mouseReleaseEvent(QMouseEvent* pEvent) override;
    void paintEvent(QPaintEvent* pEvent) override;

  private:
    void DrawStaticText(QPainter& painter);

    bool m_bPressed = false;
    QString m_strBitMap;
    QString m_strText;
    int m_nAlign = 0;
};
