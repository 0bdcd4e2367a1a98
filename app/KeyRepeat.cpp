#include "app/KeyRepeat.h"

CKeyRepeat::CKeyRepeat() {
    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, &CKeyRepeat::OnIdle);
}

void CKeyRepeat::Put(int nKey, Qt::KeyboardModifiers modifiers) {
    m_nKey = nKey;
    m_modifiers = modifiers;
    if (!m_timer.isActive()) m_timer.start(0);
}

void CKeyRepeat::Drop() {
    m_timer.stop();
}

void CKeyRepeat::OnIdle() {
    emit Repeated(m_nKey, m_modifiers);
}
