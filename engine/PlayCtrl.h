// The engine's interface and the proxy that the facade holds.
//
// CPlayCtrl names everything that a playback engine can do; the order of the declarations is the order of the
// virtual slots and stays as it is. CPlayCtrlProxy has the same operations and hands each to the engine it
// holds, or answers nothing where it holds none, so that its owner never asks whether a file's engine was
// found.
//
// Threads: the GUI thread calls everything. GetBMP and GetJPEG may be called on a library's thread too, from
// inside its display callback; an engine is replaced or destroyed only when no such callback can run any more
// (its file is closed).
#pragma once

#include "engine/PlayRecords.h"

#include <cstdint>
#include <memory>

// A playback engine. Boolean results are true for success; nothing throws.
class CPlayCtrl {
  public:
    CPlayCtrl() = default;
    virtual ~CPlayCtrl() = default;
    CPlayCtrl(const CPlayCtrl&) = delete;
    CPlayCtrl& operator=(const CPlayCtrl&) = delete;

    // Makes the engine ready to open a file; may be repeated.
    virtual bool Init() = 0;
    // `pPath` is the file's path as the file system's bytes.
    virtual bool Open(char* pPath) = 0;
    virtual bool Close() = 0;
    // Plays into the native window `nWindowId`, from the current position.
    virtual bool Play(unsigned int nWindowId) = 0;
    virtual bool BackPlay() = 0;
    virtual bool Pause(bool bPause) = 0;
    // Stops picture and sound; the position goes back to the start.
    virtual bool Stop() = 0;
    virtual bool Fast() = 0;
    virtual bool Slow() = 0;
    virtual bool GotoStart() = 0;
    // Goes to the last frame of a file of `nFrames` frames; `nFrames` is not 0.
    virtual bool GotoEnd(unsigned long nFrames) = 0;
    virtual bool StepForward() = 0;
    virtual bool StepBackward() = 0;
    virtual bool CapPic() = 0;
    // Volume from 0 to 65535.
    virtual bool Sound(bool bOn, int nVolume) = 0;
    virtual bool ResizeDisplaySize(long nLeft, long nTop, long nRight, long nBottom) = 0;
    // Seconds.
    virtual unsigned long GetCurrentPlayTime() = 0;
    // All ones before the first picture.
    virtual unsigned long GetCurrentFrame() = 0;
    // Seconds.
    virtual unsigned long GetFileTime() = 0;
    virtual unsigned long GetFileFrame() = 0;
    // Frames a second.
    virtual unsigned long GetCurrentFrameRate() = 0;
    // From 0 to 1.
    virtual float GetCurrentPosPrecent() = 0;
    virtual bool SetFramePos(float fPos) = 0;
    virtual bool SetTimePos(unsigned long nSeconds) = 0;
    virtual bool GetPic(unsigned char* pBuffer, unsigned long nSize) = 0;
    virtual void SetDisplay(unsigned int nWindowId) = 0;
    virtual bool Deflash(bool bOn) = 0;
    virtual bool Quality(bool bHigh) = 0;
    // 1: normal resolution, 2: low.
    virtual bool SetDisplayType(int nType) = 0;
    // 1: high precision, 2: low.
    virtual bool SelectTimer(int nType) = 0;
    // How many B pictures between two others are left out.
    virtual bool ThrowB(int nNumber) = 0;
    // The current picture as a BMP or JPEG file in `pBuffer` of `nSize` bytes; its length goes to *pWritten.
    virtual bool GetBMP(unsigned char* pBuffer, unsigned long nSize, unsigned long* pWritten) = 0;
    virtual bool GetJPEG(unsigned char* pBuffer, unsigned long nSize, unsigned long* pWritten) = 0;
    // Shows the part `rect` of the picture in a window; `nEnable` 0 ends that. Region 0 is the main picture.
    virtual bool SetDisplayRegion(unsigned long nRegion, tagBrekRect rect, unsigned int nWindowId,
                                  int nEnable) = 0;
    virtual bool RefreshPlay() = 0;
    virtual bool RefreshPlayEx(unsigned long nRegion) = 0;
    // Pixels.
    virtual bool GetPictureSize(long* pWidth, long* pHeight) = 0;
    virtual void SetDeinterlaceType(unsigned long nType) = 0;
    // `nUser` is the address of the CPlayEvents that hears of a changed picture size, or 0.
    virtual bool SetEncChangeMsg(std::intptr_t nUser) = 0;
    // `pUser` is the CPlayEvents that hears of the end of the file, or null.
    virtual bool SetFileEndCallBack(void* pUser) = 0;
    // `nUser` is the address of the COperate that hears of the complete index, or 0.
    virtual bool SetFileRefCallBack(std::uintptr_t nUser) = 0;
    virtual void SetWatermarkCallBack(unsigned long nUser) = 0;
    virtual bool SetDisplayCallBack() = 0;
    // Each from 0 to 128; 64 leaves the picture as it is.
    virtual bool SetColor(int nBrightness, int nContrast, int nSaturation, int nHue) = 0;
    // The key frame at or before `nValue`, a frame number (`nType` 1) or milliseconds (2); then the one after
    // it.
    virtual bool CheckKeyFramePos(unsigned long nValue, unsigned long nType, FRAME_POS* pPos) = 0;
    virtual bool CheckNextKeyFramePos(unsigned long nValue, unsigned long nType, FRAME_POS* pPos) = 0;
    virtual void RegisterDrawFun(unsigned long nUser) = 0;
};

// Hands every operation to the engine it owns; without one it does nothing and answers 0.
class CPlayCtrlProxy : public CPlayCtrl {
  public:
    CPlayCtrlProxy() = default;
    // Destroys the engine held.
    ~CPlayCtrlProxy() override = default;

    // Holds `pCtrl` from now on, or nothing when it is null; the engine held before is destroyed.
    void SetCtrl(std::unique_ptr<CPlayCtrl> pCtrl);

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
    std::unique_ptr<CPlayCtrl> m_pCtrl;
};
