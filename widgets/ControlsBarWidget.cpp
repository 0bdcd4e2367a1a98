#include "widgets/ControlsBarWidget.h"

#include "widgets/PlaySlider.h"
#include "widgets/SkinButton.h"
#include "widgets/SkinPainter.h"
#include "widgets/SoundSlider.h"
#include "widgets/WindowCommands.h"

#include <QHBoxLayout>
#include <QMouseEvent>
#include <QPainter>
#include <QStyle>
#include <QStyleFactory>
#include <QVBoxLayout>

#include <functional>
#include <new>

namespace {
constexpr int g_nBarHeight = 64;
constexpr int g_nSliderMax = 65535;

struct ButtonSize {
    CSkinButton* CControlsBarWidget::*pButton;
    int nWidth;
    int nHeight;
};

constexpr ButtonSize g_aButtons[] = {
    {&CControlsBarWidget::m_pPlayBtn, 38, 39},      {&CControlsBarWidget::m_pStopBtn, 38, 39},
    {&CControlsBarWidget::m_pStartBtn, 24, 22},     {&CControlsBarWidget::m_pEndBtn, 24, 22},
    {&CControlsBarWidget::m_pFastBtn, 24, 22},      {&CControlsBarWidget::m_pSlowBtn, 24, 22},
    {&CControlsBarWidget::m_pNextFrameBtn, 24, 22}, {&CControlsBarWidget::m_pLastFrameBtn, 24, 22},
    {&CControlsBarWidget::m_pBackBtn, 24, 22},      {&CControlsBarWidget::m_pSoundBtn, 35, 25},
    {&CControlsBarWidget::m_pOpenFileBtn, 24, 22},  {&CControlsBarWidget::m_pLanguageBtn, 34, 17},
    {&CControlsBarWidget::m_pToolBoxBtn, 24, 22},   {&CControlsBarWidget::m_pPlaylistBtn, 24, 22},
};

const char* const g_strVolumeStyle = R"(
QSlider::add-page:horizontal {
    border-width: 8px;
    border-image: url(:/Resources/volumebar.bmp) 8 8 8 8 stretch stretch;
    left: 0px;
    right: 0px;
}
QSlider::handle:horizontal {
    height: 4px;
    width: 4px;
    border-image: url(:/Resources/thumb.bmp);
    left: 0px;
    right: 4px;
    top: 0px;
    bottom: 0px;
}
QSlider::handle:pressed {
    height: 4px;
    width: 4px;
    border-image: url(:/Resources/thumb-sel.bmp);
    left: 0px;
    right: 0px;
    top: 0px;
    bottom: 0px;
}
QSlider::sub-page:horizontal {
    border-width: 8px;
    border-image: url(:/Resources/volumebar-sel.bmp) 8 8 8 8 stretch stretch;
    left: 0px;
    right: 0px;
}
)";

const char* const g_strPlayStyle = R"(
/* the groove's right part */
QSlider::add-page:horizontal {
    border-width: 8px;
    border-image: url(:/Resources/controlbar.bmp) 8 8 8 8 stretch stretch;
    left: 0px;
    right: 0px;
}
/* the slider handle */
QSlider::handle:horizontal {
    height: 6px;
    width: 6px;
    border-image: url(:/Resources/controlthumb.bmp);
    left: 0px;
    right: 0px;
    top: 0px;
    bottom: 0px;
}
QSlider::handle:pressed {
    height: 6px;
    width: 6px;
    border-image: url(:/Resources/controlthumb-sel.bmp);
    left: 0px;
    right: 0px;
    top: 0px;
    bottom: 0px;
}
/* the left part */
QSlider::sub-page:horizontal {
    border-width: 8px;
    border-image: url(:/Resources/controlbar-sel.bmp) 8 8 8 8 stretch stretch;
    left: 0px;
    right: 0px;
}
)";

// The style sheets leave the place of groove and handle to the style below them, and the images are drawn for
// the places that this one gives, whatever the desktop's own style.
void FixBaseStyle(QSlider* pSlider) {
    QStyle* pStyle = QStyleFactory::create("Fusion");
    if (!pStyle) return;
    pStyle->setParent(pSlider);
    pSlider->setStyle(pStyle);
}
} // namespace

CControlsBarWidget::CControlsBarWidget(QWidget* pParent)
    : QWidget(pParent), m_pMainDlg(dynamic_cast<CWindowCommands*>(pParent)) {
    if (!CreateAllCtrls()) return;
    connect(m_pPlaySlider, &CPlaySlider::SetPlaySlider, this, &CControlsBarWidget::SetPlaySlider);
    setFixedHeight(g_nBarHeight);
    setCursor(Qt::ArrowCursor);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    setLayout(m_pLayout);
}

// What a building that was cut short has left without a parent.
CControlsBarWidget::~CControlsBarWidget() {
    const auto drop = [](QObject* pObject) {
        if (pObject && !pObject->parent()) delete pObject;
    };
    for (QObject* pLayout : {static_cast<QObject*>(m_pLayout), static_cast<QObject*>(m_pSliderLayout),
                             static_cast<QObject*>(m_pButtonsLayout)}) {
        drop(pLayout);
    }
    for (const ButtonSize& entry : g_aButtons) {
        drop(this->*entry.pButton);
    }
    drop(m_pPlaySlider);
}

bool CControlsBarWidget::CreateAllCtrls() {
    if (!CreateButtons() || !CreateSoundSlider() || !CreateButtonsHLayout() || !CreatePlaySlider() ||
        !CreateControlLayout()) {
        return false;
    }
    ConnectButtons();
    return true;
}

bool CControlsBarWidget::CreateButtons() {
    for (const ButtonSize& entry : g_aButtons) {
        auto* pButton = new (std::nothrow) CSkinButton(nullptr);
        this->*entry.pButton = pButton;
        if (!pButton) {
            for (const ButtonSize& created : g_aButtons) {
                delete (this->*created.pButton);
                this->*created.pButton = nullptr;
            }
            return false;
        }
        pButton->setFixedSize(entry.nWidth, entry.nHeight);
    }
    m_pBackBtn->setVisible(false);
    return true;
}

bool CControlsBarWidget::CreateSoundSlider() {
    m_pSoundSlider = new (std::nothrow) CSoundSlider(this);
    if (!m_pSoundSlider) return false;
    m_pSoundSlider->setRange(0, g_nSliderMax);
    m_pSoundSlider->setOrientation(Qt::Horizontal);
    m_pSoundSlider->setSliderPosition(g_nSliderMax);
    m_pSoundSlider->setFixedSize(70, 8);
    FixBaseStyle(m_pSoundSlider);
    m_pSoundSlider->setStyleSheet(QString::fromLatin1(g_strVolumeStyle));
    return true;
}

bool CControlsBarWidget::CreatePlaySlider() {
    m_pPlaySlider = new (std::nothrow) CPlaySlider(nullptr);
    if (!m_pPlaySlider) return false;
    m_pPlaySlider->setRange(0, g_nSliderMax);
    m_pPlaySlider->setOrientation(Qt::Horizontal);
    m_pPlaySlider->setFixedHeight(10);
    FixBaseStyle(m_pPlaySlider);
    m_pPlaySlider->setStyleSheet(QString::fromLatin1(g_strPlayStyle));
    return true;
}

bool CControlsBarWidget::CreateButtonsHLayout() {
    m_pButtonsLayout = new (std::nothrow) QHBoxLayout;
    if (!m_pButtonsLayout) return false;
    m_pButtonsLayout->setContentsMargins(0, 0, 0, 0);
    m_pButtonsLayout->setSpacing(5);
    m_pButtonsLayout->addSpacing(19);
    for (CSkinButton* pButton : {m_pPlayBtn, m_pStopBtn, m_pStartBtn, m_pSlowBtn, m_pFastBtn, m_pEndBtn,
                                 m_pLastFrameBtn, m_pNextFrameBtn, m_pBackBtn, m_pSoundBtn}) {
        m_pButtonsLayout->addWidget(pButton);
    }
    m_pButtonsLayout->addWidget(m_pSoundSlider);
    m_pButtonsLayout->addStretch();
    for (CSkinButton* pButton : {m_pLanguageBtn, m_pOpenFileBtn, m_pPlaylistBtn, m_pToolBoxBtn}) {
        m_pButtonsLayout->addWidget(pButton);
    }
    m_pButtonsLayout->addSpacing(9);
    return true;
}

bool CControlsBarWidget::CreateControlLayout() {
    m_pSliderLayout = new (std::nothrow) QHBoxLayout;
    m_pLayout = new (std::nothrow) QVBoxLayout;
    if (!m_pSliderLayout || !m_pLayout) {
        delete m_pSliderLayout;
        delete m_pLayout;
        m_pSliderLayout = nullptr;
        m_pLayout = nullptr;
        return false;
    }
    m_pSliderLayout->setContentsMargins(0, 0, 0, 0);
    m_pSliderLayout->setSpacing(0);
    m_pSliderLayout->addSpacing(18);
    m_pSliderLayout->addWidget(m_pPlaySlider);
    m_pSliderLayout->addSpacing(18);

    m_pLayout->setContentsMargins(0, 0, 0, 0);
    m_pLayout->setSpacing(0);
    m_pLayout->addSpacing(4);
    m_pLayout->addLayout(m_pSliderLayout);
    m_pLayout->addSpacing(7);
    m_pLayout->addLayout(m_pButtonsLayout);
    return true;
}

void CControlsBarWidget::ConnectButton(CSkinButton* pButton, bool (CWindowCommands::*pCommand)()) {
    connect(pButton, &QAbstractButton::clicked, this, [this, command = std::mem_fn(pCommand)] {
        if (m_pMainDlg) command(*m_pMainDlg);
    });
}

void CControlsBarWidget::ConnectButtons() {
    ConnectButton(m_pPlayBtn, &CWindowCommands::PlayOrPause);
    ConnectButton(m_pStopBtn, &CWindowCommands::Stop);
    ConnectButton(m_pStartBtn, &CWindowCommands::Start);
    ConnectButton(m_pEndBtn, &CWindowCommands::End);
    ConnectButton(m_pFastBtn, &CWindowCommands::Fast);
    ConnectButton(m_pSlowBtn, &CWindowCommands::Slow);
    ConnectButton(m_pNextFrameBtn, &CWindowCommands::NextFrame);
    ConnectButton(m_pLastFrameBtn, &CWindowCommands::LastFrame);
    ConnectButton(m_pBackBtn, &CWindowCommands::Back);
    ConnectButton(m_pSoundBtn, &CWindowCommands::Sound);
    ConnectButton(m_pOpenFileBtn, &CWindowCommands::OpenFile);
    ConnectButton(m_pLanguageBtn, &CWindowCommands::ChangeLanguage);
    ConnectButton(m_pToolBoxBtn, &CWindowCommands::ShowToolBoxMenu);
    ConnectButton(m_pPlaylistBtn, &CWindowCommands::IsViewPlaylist);
}

void CControlsBarWidget::SetPlaySlider(int nValue) {
    if (m_pMainDlg) m_pMainDlg->SetPlaySlider(nValue);
}

void CControlsBarWidget::SetVolumeSlider(int nValue) {
    if (m_pMainDlg) m_pMainDlg->SetVolumeSlider(nValue);
}

bool CControlsBarWidget::GetSoundStatus() {
    return m_pMainDlg && m_pMainDlg->GetSoundStatus();
}

void CControlsBarWidget::Sound() {
    if (m_pMainDlg) m_pMainDlg->Sound();
}

void CControlsBarWidget::paintEvent(QPaintEvent* pEvent) {
    {
        QPainter painter(this);
        DrawSkinImage(painter, rect(), ":/Resources/toolbar.bmp");
    }
    QWidget::paintEvent(pEvent);
}

void CControlsBarWidget::mouseMoveEvent(QMouseEvent* pEvent) {
    QWidget::mouseMoveEvent(pEvent);
}
