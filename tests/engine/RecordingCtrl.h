// An engine that writes down which of its operations was called with what, and answers what the test says.
#pragma once

#include "engine/PlayCtrl.h"

#include <sstream>
#include <string>
#include <vector>

class CRecordingCtrl : public CPlayCtrl {
  public:
    // `pCalls` and `pDeleted` belong to the test and outlive this object.
    CRecordingCtrl(std::vector<std::string>* pCalls, bool* pDeleted)
        : m_pCalls(pCalls), m_pDeleted(pDeleted) {}
    ~CRecordingCtrl() override { *m_pDeleted = true; }

    bool m_bAnswer = true;

    bool Init() override { return Note("Init"); }
    bool Open(char* pPath) override { return Note("Open", static_cast<const void*>(pPath)); }
    bool Close() override { return Note("Close"); }
    bool Play(unsigned int nWindowId) override { return Note("Play", nWindowId); }
    bool BackPlay() override { return Note("BackPlay"); }
    bool Pause(bool bPause) override { return Note("Pause", bPause); }
    bool Stop() override { return Note("Stop"); }
    bool Fast() override { return Note("Fast"); }
    bool Slow() override { return Note("Slow"); }
    bool GotoStart() override { return Note("GotoStart"); }
    bool GotoEnd(unsigned long nFrames) override { return Note("GotoEnd", nFrames); }
    bool StepForward() override { return Note("StepForward"); }
    bool StepBackward() override { return Note("StepBackward"); }
    bool CapPic() override { return Note("CapPic"); }
    bool Sound(bool bOn, int nVolume) override { return Note("Sound", bOn, nVolume); }
    bool ResizeDisplaySize(long nLeft, long nTop, long nRight, long nBottom) override {
        return Note("ResizeDisplaySize", nLeft, nTop, nRight, nBottom);
    }
    unsigned long GetCurrentPlayTime() override { return Note("GetCurrentPlayTime") ? 116UL : 0UL; }
    unsigned long GetCurrentFrame() override { return Note("GetCurrentFrame") ? 117UL : 0UL; }
    unsigned long GetFileTime() override { return Note("GetFileTime") ? 118UL : 0UL; }
    unsigned long GetFileFrame() override { return Note("GetFileFrame") ? 119UL : 0UL; }
    unsigned long GetCurrentFrameRate() override { return Note("GetCurrentFrameRate") ? 120UL : 0UL; }
    float GetCurrentPosPrecent() override { return Note("GetCurrentPosPrecent") ? 0.75F : 0.0F; }
    bool SetFramePos(float fPos) override { return Note("SetFramePos", fPos); }
    bool SetTimePos(unsigned long nSeconds) override { return Note("SetTimePos", nSeconds); }
    bool GetPic(unsigned char* pBuffer, unsigned long nSize) override {
        return Note("GetPic", static_cast<const void*>(pBuffer), nSize);
    }
    void SetDisplay(unsigned int nWindowId) override { Note("SetDisplay", nWindowId); }
    bool Deflash(bool bOn) override { return Note("Deflash", bOn); }
    bool Quality(bool bHigh) override { return Note("Quality", bHigh); }
    bool SetDisplayType(int nType) override { return Note("SetDisplayType", nType); }
    bool SelectTimer(int nType) override { return Note("SelectTimer", nType); }
    bool ThrowB(int nNumber) override { return Note("ThrowB", nNumber); }
    bool GetBMP(unsigned char* pBuffer, unsigned long nSize, unsigned long* pWritten) override {
        return Note("GetBMP", static_cast<const void*>(pBuffer), nSize, static_cast<const void*>(pWritten));
    }
    bool GetJPEG(unsigned char* pBuffer, unsigned long nSize, unsigned long* pWritten) override {
        return Note("GetJPEG", static_cast<const void*>(pBuffer), nSize, static_cast<const void*>(pWritten));
    }
    bool SetDisplayRegion(unsigned long nRegion, tagBrekRect rect, unsigned int nWindowId,
                          int nEnable) override {
        return Note("SetDisplayRegion", nRegion, rect.left, rect.top, rect.right, rect.bottom, nWindowId,
                    nEnable);
    }
    bool RefreshPlay() override { return Note("RefreshPlay"); }
    bool RefreshPlayEx(unsigned long nRegion) override { return Note("RefreshPlayEx", nRegion); }
    bool GetPictureSize(long* pWidth, long* pHeight) override {
        return Note("GetPictureSize", static_cast<const void*>(pWidth), static_cast<const void*>(pHeight));
    }
    void SetDeinterlaceType(unsigned long nType) override { Note("SetDeinterlaceType", nType); }
    bool SetEncChangeMsg(std::intptr_t nUser) override { return Note("SetEncChangeMsg", nUser); }
    bool SetFileEndCallBack(void* pUser) override {
        return Note("SetFileEndCallBack", static_cast<const void*>(pUser));
    }
    bool SetFileRefCallBack(std::uintptr_t nUser) override { return Note("SetFileRefCallBack", nUser); }
    void SetWatermarkCallBack(unsigned long nUser) override { Note("SetWatermarkCallBack", nUser); }
    bool SetDisplayCallBack() override { return Note("SetDisplayCallBack"); }
    bool SetColor(int nBrightness, int nContrast, int nSaturation, int nHue) override {
        return Note("SetColor", nBrightness, nContrast, nSaturation, nHue);
    }
    bool CheckKeyFramePos(unsigned long nValue, unsigned long nType, FRAME_POS* pPos) override {
        return Note("CheckKeyFramePos", nValue, nType, static_cast<const void*>(pPos));
    }
    bool CheckNextKeyFramePos(unsigned long nValue, unsigned long nType, FRAME_POS* pPos) override {
        return Note("CheckNextKeyFramePos", nValue, nType, static_cast<const void*>(pPos));
    }
    void RegisterDrawFun(unsigned long nUser) override { Note("RegisterDrawFun", nUser); }

  private:
    template <typename... Arguments>
    bool Note(const char* pName, const Arguments&... arguments) {
        std::ostringstream text;
        text << pName;
        ((text << ' ' << arguments), ...);
        m_pCalls->push_back(text.str());
        return m_bAnswer;
    }

    std::vector<std::string>* m_pCalls;
    bool* m_pDeleted;
};
