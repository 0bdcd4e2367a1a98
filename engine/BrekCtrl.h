// The engine over the playback library: each operation is one or two calls on one port of it.
//
// The port is taken by Init() or the first CheckFile() and kept until the object goes. Nothing else in the
// program calls the library.
#pragma once

#include "engine/PlayCtrl.h"

class CBrekCtrl : public CPlayCtrl {
  public:
    CBrekCtrl() = default;
    // Gives the port back.
    ~CBrekCtrl() override;

    // True when the library can open the file at `pPath`; false for null. Opens and closes it on this
    // engine's port, which therefore must not be playing one.
    bool CheckFile(char* pPath);
    // Gives the port back. A port numbered 0 is kept, although Init() takes it for a held one.
    void Free();

    bool Init() override;
    bool Open(char* pPath) override;
    bool Close() override;
    bool Play(unsigned int nWindowId) override;
    bool BackPlay() override;
    bool Pause(bool bPause) override;
    bool Stop() override;
    bool Fast() override;
    bool Slow() override;
    bool GotoStart() override;
    bool GotoEnd(unsigned long nFrames) override;
    bool StepForward() override;
    bool StepBackward() override;
    bool CapPic() override;
    bool Sound(bool bOn, int nVolume) override;
    bool ResizeDisplaySize(long nLeft, long nTop, long nRight, long nBottom) override;
    unsigned long GetCurrentPlayTime() override;
    unsigned long GetCurrentFrame() override;
    unsigned long GetFileTime() override;
    unsigned long GetFileFrame() override;
    unsigned long GetCurrentFrameRate() override;
    float GetCurrentPosPrecent() override;
    bool SetFramePos(float fPos) override;
    bool SetTimePos(unsigned long nSeconds) override;
    bool GetPic(unsigned char* pBuffer, unsigned long nSize) override;
    void SetDisplay(unsigned int nWindowId) override;
    bool Deflash(bool bOn) override;
    bool Quality(bool bHigh) override;
    bool SetDisplayType(int nType) override;
    bool SelectTimer(int nType) override;
    bool ThrowB(int nNumber) override;
    bool GetBMP(unsigned char* pBuffer, unsigned long nSize, unsigned long* pWritten) override;
    bool GetJPEG(unsigned char* pBuffer, unsigned long nSize, unsigned long* pWritten) override;
    bool SetDisplayRegion(unsigned long nRegion, tagBrekRect rect, unsigned int nWindowId,
                          int nEnable) override;
    bool RefreshPlay() override;
    bool RefreshPlayEx(unsigned long nRegion) override;
    bool GetPictureSize(long* pWidth, long* pHeight) override;
    void SetDeinterlaceType(unsigned long nType) override;
    bool SetEncChangeMsg(std::intptr_t nUser) override;
    bool SetFileEndCallBack(void* pUser) override;
    bool SetFileRefCallBack(std::uintptr_t nUser) override;
    void SetWatermarkCallBack(unsigned long nUser) override;
    bool SetDisplayCallBack() override;
    bool SetColor(int nBrightness, int nContrast, int nSaturation, int nHue) override;
    bool CheckKeyFramePos(unsigned long nValue, unsigned long nType, FRAME_POS* pPos) override;
    bool CheckNextKeyFramePos(unsigned long nValue, unsigned long nType, FRAME_POS* pPos) override;
    void RegisterDrawFun(unsigned long nUser) override;

  private:
    int m_nPort = -1; // -1: none held
};
