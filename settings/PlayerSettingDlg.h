// The settings dialog: eight pages, chosen from a list on the left.
//
// It works on copies of the main window's settings; OK writes them back and hands them to an open file. The
// pages for colour and for jumping within the file act at once. Where there is no main window to ask, it
// shows its start values and changes nothing.
//
// One class with a page each in a file of its own:
//   PlayerSettingDlg.cpp      the frame, the list, showing a page, OK
//   PlayerSettingBasic.cpp    page 1
//   PlayerSettingHotKey.cpp   page 2, the table of keys
//   PlayerSettingLocate.cpp   page 3, jumping to a time or a frame
//   PlayerSettingSpeed.cpp    page 4
//   PlayerSettingImage.cpp    page 5 and page 6, colour
//   PlayerSettingCapture.cpp  pages 7 and 8
#pragma once

#include <QDialog>
#include <QString>

#include <initializer_list>

class COperate;
class CSetingSlider;
class CSettingsOwner;
class CStaticText;
class QCheckBox;
class QComboBox;
class QGroupBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QRadioButton;
class QTableWidget;

class CPlayerSetting : public QDialog {
    Q_OBJECT

  public:
    // `pParent` is asked for the settings if it is a CSettingsOwner.
    explicit CPlayerSetting(QWidget* pParent);

  public slots:
    bool ChangeLightness(int nValue);
    bool ChangeHue(int nValue);
    bool ChangeConstract(int nValue);
    bool ChangeChromaticity(int nValue);
    // Puts the four picture values back to 64; always false.
    bool Reset();
    bool FrameLocate();
    bool TimeLocate();
    bool OnClickOKButton();
    bool OnClickCappicBrowser();
    bool OnClickConCapbrowser();
    // Shows the page of that number, or the current one again, and marks it in the list.
    void OnClickStaticText(int nType);

  public:
    static constexpr int kPages = 8;

    // --- building, in this order
    void CreateCtrls();
    void DeleteCtrls();
    void setupUi();
    void LoadCtrlText();
    void CreatehotKeyTable(QDialog* pDlg);
    void CreateVideoLacateWidget();
    void CreatePlaySpeedWidget();
    void CreateImageControlWidget();
    void CreateColorAdjustWidget();
    void CreateCappicWidget();
    void CreateContinueCappicWidget();
    void InitPara();
    void InitCtrlStatus();
    void InitCtrl();
    void InitCtrlColor();
    void ConnectLabelSignals();

    // --- reading the controls back
    void GetParaFromSettings();
    void GetParaFromBasicSettings();
    void GetParaFromSpeedSetting();
    void GetParaFromImageSetting();
    void GetParaFromHotKeySetting();

    // --- each shows or hides all of its page
    void ShowBasicSetCtrl(bool bShow);
    void ShowHotKeyCtrl(bool bShow);
    void ShowLocateCtrl(bool bShow);
    void ShowSpeedCtrl(bool bShow);
    void ShowImageControlCtrl(bool bShow);
    void ShowColorAdjustCtrl(bool bShow);
    void ShowCappicSetCtrl(bool bShow);
    void ShowContinueCappicSetCtrl(bool bShow);

  protected:
    void keyPressEvent(QKeyEvent* pEvent) override;

  private:
    // What pages 7 and 8 have alike.
    struct CaptureCtrls {
        CStaticText* pHeader = nullptr;
        QLabel* pPath = nullptr;
        QLineEdit* pPathLine = nullptr;
        QPushButton* pBrowse = nullptr;
        QLabel* pType = nullptr;
        QComboBox* pTypeCombo = nullptr;
    };
    // All controls: either each is there or none, so that one of them tells.
    struct Ctrls {
        QGroupBox* pLeft = nullptr;
        QGroupBox* pRight = nullptr;
        QPushButton* pOK = nullptr;
        QPushButton* pCancel = nullptr;
        CStaticText* aGroups[4] = {};       // title row and group headings
        CStaticText* aEntries[kPages] = {}; // of the list, by page
        CStaticText* pOption = nullptr;     // page 1
        QCheckBox* pHighQuality = nullptr;
        QCheckBox* pDeflash = nullptr;
        CStaticText* pOptimization = nullptr;
        QRadioButton* pEfficiency = nullptr;
        QRadioButton* pEffect = nullptr;
        CStaticText* pThrowB = nullptr;
        QRadioButton* pThrow0 = nullptr;
        QRadioButton* pThrow1 = nullptr;
        QRadioButton* pThrow2 = nullptr;
        CStaticText* pTimer = nullptr;
        QRadioButton* pTimerHigh = nullptr;
        QRadioButton* pTimerLow = nullptr;
        CStaticText* pKey = nullptr; // page 2
        QTableWidget* pKeyTable = nullptr;
        CStaticText* pLocate = nullptr; // page 3
        QLabel* pTimeLocate = nullptr;
        QLineEdit* pTimeLine = nullptr;
        QPushButton* pTimeButton = nullptr;
        QLabel* pFrameLocate = nullptr;
        QLineEdit* pFrameLine = nullptr;
        QPushButton* pFrameButton = nullptr;
        CStaticText* pSpeed = nullptr; // page 4
        QRadioButton* pIncrease = nullptr;
        QRadioButton* pDecrease = nullptr;
        CSetingSlider* pSpeedSlider = nullptr;
        QLabel* aScale[5] = {};
        CStaticText* pImage = nullptr; // page 5
        QRadioButton* pNormalResolution = nullptr;
        QRadioButton* pLowResolution = nullptr;
        CStaticText* pColor = nullptr; // page 6
        QLabel* pLight = nullptr;
        CSetingSlider* pLightSlider = nullptr;
        QLabel* pHue = nullptr;
        CSetingSlider* pHueSlider = nullptr;
        QLabel* pContrast = nullptr;
        CSetingSlider* pContrastSlider = nullptr;
        QLabel* pChroma = nullptr;
        CSetingSlider* pChromaSlider = nullptr;
        QPushButton* pReset = nullptr;
        CaptureCtrls cap;    // page 7
        CaptureCtrls conCap; // page 8
    };

    void CreateListCtrls();
    void CreateBasicCtrls();
    void CreatePlayCtrls();
    void CreatePictureCtrls();
    static void CreateCaptureCtrls(CaptureCtrls* pCtrls, QWidget* pParent);
    void LayOutList();
    void LayOutBasic();
    void LoadListText();
    void LoadBasicText();
    void ShowCaptureCtrls(const CaptureCtrls& ctrls, bool bShow);
    void LayOutCapture(const CaptureCtrls& ctrls, const QString& strHeader, const QString& strName);
    // Places a heading and colours it.
    static void SetHeading(CStaticText* pHeading, const QRect& rc);
    static void ShowAll(std::initializer_list<QWidget*> lstWidgets, bool bShow);
    void ShowPage(int nPage, bool bShow);
    // The facade if a file plays or is paused, else null.
    COperate* PlayingOperate() const;
    bool Warn(const QString& strText);
    bool ChangeColor(int* pCopy, int nValue);
    void MoveColorSliders(int nValue);
    void StoreColor();
    void StoreSettings();
    // Hands the settings to the open file; false when it refuses a step of speed.
    bool ApplySettings(COperate* pOperate);
    bool BrowseFolder(QString* pPath, QLineEdit* pLine);

    CSettingsOwner* m_pOwner; // the main window; not owned, may be null
    Ctrls m_ctrls;
    int m_nPage = 1;
    int m_nBrightness = 64;
    int m_nContrast = 64;
    int m_nChromaticity = 64;
    int m_nHue = 64;
    bool m_bHighQuality = true;
    bool m_bDeflash = true;
    int m_nDeinterlace = 0;
    int m_nThrowB = 0;
    int m_nTimer = 1;
    int m_nDisplayType = 2;
    int m_nSpeed = 0;
    int m_nOldSpeed = 0; // when the dialog was built
    QString m_strCapPath;
    int m_nCapType = 0;
    QString m_strConCapPath;
    int m_nConCapType = 0;
    bool m_bThrowBChanged = false; // set by OK: not the number last handed to the engine
    unsigned int m_nTime = 0;      // as last typed
    unsigned int m_nFrame = 0;
};
