// What the settings dialog asks of the main window, which owns every setting.
#pragma once

#include <QString>

class COperate;

class CSettingsOwner {
  public:
    virtual ~CSettingsOwner() = default;

    // The playback facade; null when the window could not be built.
    virtual COperate* GetOperate() const = 0;
    // Hands the settings to the facade.
    virtual void SetPara() = 0;
    // Brings the window's controls into line with the play state.
    virtual void SetState() = 0;

    virtual bool GetHighQuality() const = 0;
    virtual void SetHighQuality(bool bHigh) = 0;
    virtual bool GetDeflash() const = 0;
    virtual void SetDeflash(bool bDeflash) = 0;
    // 0 efficiency first, 1 effect first.
    virtual int GetDeinterlaceType() const = 0;
    virtual void SetDeinterlaceType(unsigned long nType) = 0;
    // B pictures that are left out: 0, 1 or 2.
    virtual int GetThrowBNum() const = 0;
    virtual void SetThrowBNum(int nNum) = 0;
    // The number last handed to the engine.
    virtual int GetPreThrowBNum() const = 0;
    virtual void SetPreThrowBNum(int nNum) = 0;
    // 1 high precision, 2 low.
    virtual int GetPlayerTimer() const = 0;
    virtual void SetPlayerTimer(int nType) = 0;
    // 1 normal resolution, 2 low.
    virtual int GetDisplayType() const = 0;
    virtual void SetDisplayType(int nType) = 0;
    // -4 to 4; the setter clamps.
    virtual int GetSpeed() const = 0;
    virtual void SetSpeed(int nLevel) = 0;

    // Folders and file types (0 BMP, 1 JPEG) of single and continuous captures.
    virtual QString GetCapPath() const = 0;
    virtual void SetCapPath(QString strPath) = 0;
    virtual int GetCapType() const = 0;
    virtual void SetCapType(int nType) = 0;
    virtual QString GetConCapPath() const = 0;
    virtual void SetConCapPath(QString strPath) = 0;
    virtual int GetConCapType() const = 0;
    virtual void SetConCapType(int nType) = 0;

    // The four picture values, 64 each for the picture as it is; a negative one is refused.
    virtual int GetBrightness() const = 0;
    virtual bool SetBrightness(int nValue) = 0;
    virtual int GetContrast() const = 0;
    virtual bool SetContrast(int nValue) = 0;
    virtual int GetChromaticity() const = 0;
    virtual bool SetChromaticity(int nValue) = 0;
    virtual int GetHue() const = 0;
    virtual bool SetHue(int nValue) = 0;
};
