#include "widgets/SoundSlider.h"

#include "widgets/ControlsBarWidget.h"

#include <QEvent>
#include <QImage>
#include <QPainter>
#include <QPixmap>

namespace {
constexpr int g_nFullVolume = 65535;
}

CSoundSlider::CSoundSlider(QWidget* pParent)
    : CJumpSlider(pParent), m_pControlsBar(qobject_cast<CControlsBarWidget*>(pParent)) {
    setFocusPolicy(Qt::NoFocus);
    // The name is the tool tip, a bare percentage; the description says of what.
    setAccessibleDescription(tr("Volume"));
    connect(this, &QSlider::valueChanged, this, &CSoundSlider::SetVolumeValue);
    connect(this, &QSlider::valueChanged, this, &CSoundSlider::SetToolTip);
}

void CSoundSlider::changeEvent(QEvent* pEvent) {
    if (pEvent->type() == QEvent::LanguageChange) setAccessibleDescription(tr("Volume"));
    CJumpSlider::changeEvent(pEvent);
}

void CSoundSlider::SetBitMapPath(QString strNormal, QString strHover) {
    m_strNormal = std::move(strNormal);
    m_strHover = std::move(strHover);
    update();
}

bool CSoundSlider::SetVolumeValue(int nValue) {
    if (nValue < 0 || !m_pControlsBar) return false;
    m_pControlsBar->SetVolumeSlider(nValue);
    if (!m_pControlsBar->GetSoundStatus()) m_pControlsBar->Sound();
    return true;
}

bool CSoundSlider::SetToolTip(int nValue) {
    if (nValue < 0 || !m_pControlsBar) return false;
    const QString strPercent = QString::number(nValue * 100 / g_nFullVolume);
    setToolTip(strPercent);
    setAccessibleName(strPercent);
    return true;
}

void CSoundSlider::enterEvent(QEnterEvent* pEvent) {
    CJumpSlider::enterEvent(pEvent);
    m_bHover = true;
    SetToolTip(value());
}

void CSoundSlider::leaveEvent(QEvent* pEvent) {
    CJumpSlider::leaveEvent(pEvent);
    m_bHover = false;
}

void CSoundSlider::paintEvent(QPaintEvent* pEvent) {
    if (!m_strNormal.isEmpty() && !m_strHover.isEmpty()) {
        QPainter painter(this);
        painter.drawPixmap(0, 0, QPixmap::fromImage(QImage(m_bHover ? m_strHover : m_strNormal)));
    }
    CJumpSlider::paintEvent(pEvent);
}
