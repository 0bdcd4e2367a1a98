// The facade: the one object through which the main window plays a file.
//
// It holds the play state, the playback options, what it learned of the open file, the capture counters, and
// the engine, which it chooses for each file: Init(path), then the callbacks, then Open(path), the play
// commands, and Close(), which gives the engine away. Operations return true for success; those that need the
// engine do nothing and return false (or 0) where there is none. Paths are the file system's bytes.
//
// Threads: the GUI thread calls everything. Three things happen on the playback library's threads besides:
// CapPic(), from inside the display callback, SetFileRefStatus(), and reading the state. The library ends its
// callbacks before its stopping and closing calls return, and a capture may wait for the picture of a seek;
// so m_captureMutex is never held across a call into the engine. A callback can then always finish while the
// GUI thread waits for it: commands that wait for the library are in haste (Haste()), and a capture then does
// not wait for its disk.
#pragma once

#include "engine/CaptureWriter.h"
#include "engine/PlayRecords.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

class CBrekCtrl;
class CPlayCtrlProxy;

class COperate {
  public:
    // Play states; the numbers are what GetCurrentState() gives.
    static constexpr int kNoFile = 0;
    static constexpr int kPlaying = 1;
    static constexpr int kPaused = 2;
    static constexpr int kStopped = 3;

    COperate();
    ~COperate();
    COperate(const COperate&) = delete;
    COperate& operator=(const COperate&) = delete;

    // ---- The file ----

    // Chooses the engine for the file at `pPath`; false when the library cannot open it.
    bool Init(char* pPath);
    // Asks the library whether it can open the file, which makes it media type 1, else 2 (and false).
    bool JudgeMediaType(char* pPath);
    // Gives the proxy the engine of the media type last judged.
    bool SelectCtrlProxy();
    // Opens and plays with the stored options; reads the file's length and picture size.
    bool Open(char* pPath);
    // Opens the file in the engine and does nothing else.
    bool OpenFile(char* pPath);
    bool Close();
    // Makes the engine take its port.
    bool GetPort();

    // ---- Playing ----

    bool Play();
    bool Pause();
    bool Stop();
    // One frame on or back; the file is paused afterwards.
    bool Forward();
    bool Back();
    // One speed level up or down; the file plays afterwards.
    bool Fast();
    bool Slow();
    // Goes from normal speed to the stored level, until the engine refuses.
    bool Speed();
    bool Start();
    bool End();
    bool BackPlay();
    bool RefreshPlay();
    bool RefreshPlayEx(unsigned long nRegion);
    bool Sound(bool bOn, int nVolume);
    // Any thread.
    int GetCurrentState() const { return m_nState.load(); }
    bool SetCurrentState(int nState);

    // ---- Positions and queries ----

    bool SetFramePos(float fPos);
    bool SetTimePos(unsigned long nSeconds);
    bool CheckKeyFramePos(unsigned long nValue, unsigned long nType, FRAME_POS* pPos);
    bool CheckNextKeyFramePos(unsigned long nValue, unsigned long nType, FRAME_POS* pPos);
    // Seconds.
    unsigned long GetCurrentPlayTime();
    // All ones before the first picture.
    unsigned long GetCurrentFrame();
    unsigned long GetCurrentFrameRate();
    // From 0 to 1.
    float GetCurrentPosPrecent();
    // Length in seconds and frames, as read when the file was opened; read once more when its index is
    // complete, since what a large raw stream says before is an estimate.
    unsigned long GetFileTime();
    unsigned long GetFileFrame();
    // Pixels, as read when the file was opened.
    long GetImageWidth() const;
    long GetImageHeight() const;
    // Reads the picture size from the engine anew.
    bool GetImageSize();
    // 1: the library knows the file last judged, 2: it does not, 0: none was judged.
    int GetMediaType() const { return m_nMediaType; }

    // ---- Display ----

    // Hands the stored options to the engine; the number of left-out B pictures only when `bThrowB` is true.
    bool SetOptions(bool bThrowB);
    bool ThrowB();
    // Shows a part of the main picture; only while paused.
    bool SetDisplayRegion(tagBrekRect rect);
    bool InitRangeShow(unsigned long nRegion, tagBrekRect rect, unsigned int nHwnd);
    bool SetRegion(unsigned long nRegion, tagBrekRect rect, unsigned int nHwnd, int nEnable);
    bool SetColor(int nBrightness, int nContrast, int nSaturation, int nHue);

    // ---- Capture ----

    // Writes the current picture to a new file in the folder `pDir`: BMP for type 0, else JPEG. Any thread,
    // also inside the display callback. Where the disk takes long and somebody is in haste, it returns true
    // before the file is written; CPlayEvents::CaptureFailed then tells of a failure.
    bool CapPic(int nType, char* pDir);
    // The caller will not wait long for a capture, while the result lives: neither for one of his own nor for
    // one that holds the library up. The commands above that wait for the library do this by themselves.
    [[nodiscard]] CCaptureWriter::CHaste Haste() { return CCaptureWriter::CHaste(m_captureWriter); }
    // Waits for the captures under way, but for a disk that hangs not longer than `patience`, and tells of no
    // failure from then on. False when something is still unwritten.
    bool FinishCaptures(std::chrono::milliseconds patience) { return m_captureWriter.Finish(patience); }
    // Full name of the last picture written, empty before the first. Any thread.
    std::string GetLastCapFile() const { return m_captureWriter.LastWritten(); }

    // ---- Callbacks ----

    // The address of the CPlayEvents that hears of a changed picture size, or 0.
    bool SetEncChangeMsg(std::intptr_t nUser);
    // The CPlayEvents that hears of the end of the file, or null.
    bool SetFileEndCallBack(void* pUser);
    // The address of this object, or 0; forgets that the index was complete.
    bool SetFileRefCallBack(std::uintptr_t nUser);
    bool SetWatermarkCallBack(unsigned long nUser);
    bool SetDisplayCallBack();
    bool RegisterDrawFun(unsigned long nUser);
    // Keeps the head of a watermark record.
    bool CheckWatermark(WATERMARK_INFO* pInfo);
    // The 64 bytes that CheckWatermark() fills from the front.
    const unsigned char* GetWatermarkCopy() const { return m_aWatermark; }
    // Whether the file's index is complete. Any thread.
    bool SetFileRefStatus(bool bDone);
    bool GetFileRefStatus() const { return m_bFileRefDone.load(); }

    // ---- Options, stored until the next Open(), SetOptions() or Play() from stop ----

    bool SetSpeedValue(int nSpeed);
    bool SetHighQualityValue(bool bHigh);
    bool SetDeflashValue(bool bDeflash);
    bool SetDeinterlaceValue(int nType);
    bool SetThrowBNumValue(int nNumber);
    bool SetPlayerTimerValue(int nType);
    bool SetDisplayTypeValue(int nType);
    bool SetSoundValue(bool bOn);
    bool SetVolumeValue(unsigned long nVolume);
    bool SetBackPlayValue(bool bBackPlay);
    // The native window that the picture is drawn into; told to the engine too.
    bool SetPlayHwnd(unsigned int nHwnd);
    bool SetRangePlayHwnd(unsigned int nHwnd);

    // ---- Fixed answers, kept for other media ----

    bool JudgeOtherMedia(char* pPath);
    unsigned long GetCurFileSize(char* pPath);
    char* GetFileTypeFormName(char* pName);

  private:
    void TakeOverLength();

    using Buffer = std::unique_ptr<unsigned char[]>;

    // A buffer of five bytes a pixel, its size in *pSize; null when there is no memory. Holds the kept one if
    // it fits.
    Buffer TakeCaptureBuffer(unsigned long* pSize);
    // Takes a larger buffer in place of the one given, if the picture that the engine now has needs it; false
    // where it does not, or where there is no memory.
    bool GrowCaptureBuffer(const std::shared_ptr<CPlayCtrlProxy>& pEngine, Buffer* pBuffer,
                           unsigned long* pSize);
    // Keeps a buffer for the next capture.
    void ReturnCaptureBuffer(Buffer pBuffer, unsigned long nSize);
    // The engine as another thread may see it, kept alive by the result.
    std::shared_ptr<CPlayCtrlProxy> SharedEngine() const;
    void SetEngine(std::shared_ptr<CPlayCtrlProxy> pEngine);
    void PlayFromStop();
    // Encodes into the buffer given, which may be replaced by a larger one, and writes the file.
    bool CapPicInto(Buffer* pBuffer, unsigned long* pSize, int nType, const char* pDir);
    int NextCaptureNumber(bool bBmp);

    // ---- GUI thread only ----
    int m_nMediaType = 0;
    unsigned int m_nPlayHwnd = 0;
    unsigned int m_nRangeHwnd = 0;
    bool m_bHighQuality = true;
    bool m_bDeflash = true;
    int m_nDeinterlace = 0;
    int m_nThrowB = 0;
    int m_nTimer = 1;
    int m_nDisplayType = 1;
    bool m_bSound = true;
    int m_nSpeed = 0;
    unsigned long m_nFileTime = 0;
    unsigned long m_nFileFrame = 0;
    bool m_bLengthExact = false; // the length was read after the index was complete
    unsigned long m_nCurrentPlayTime = 0;
    unsigned long m_nCurrentFrame = 0;
    unsigned long m_nVolume = 32767;
    bool m_bBackPlay = false;
    std::unique_ptr<CBrekCtrl> m_pCheckCtrl; // only tests files; has a port of its own
    unsigned char m_aWatermark[64] = {};

    // ---- Atomic ----
    std::atomic<int> m_nState{kNoFile};
    std::atomic<bool> m_bFileRefDone{false};

    // ---- Guarded by m_captureMutex; the GUI thread, which alone replaces the engine, reads that pointer
    // without ----
    mutable std::mutex m_captureMutex;
    std::shared_ptr<CPlayCtrlProxy> m_pEngine;
    Buffer m_pCapBuffer; // null while a capture uses it
    unsigned long m_nCapBufferSize = 0;
    long m_nPicWidth = 0;
    long m_nPicHeight = 0;
    int m_nBmpCounter = 0;
    int m_nJpegCounter = 0;

    // ---- With a lock of its own ----
    CCaptureWriter m_captureWriter;
};
