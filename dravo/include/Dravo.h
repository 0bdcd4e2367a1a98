/*
 * Dravo: the playback library.
 *
 * A port is one open file with a clock, a window and a sound device. Take a port, open a file on it, play it
 * into a window, and ask and steer it from there. The interface is plain C; nothing but the functions of this
 * header is exported by the library.
 *
 * Results: a function returns non-zero for success and 0 for failure unless it returns a value. None crashes,
 * throws or hangs on a bad port, a null pointer or a call that the port's state does not allow: it returns 0
 * and changes nothing.
 *
 * Threads: every function may be called from any thread, unless its own text says otherwise. Calls on one
 * port from several threads take effect one after the other.
 *
 * Frames: frame n is the n-th picture of the file in presentation order, counted from 0, by whatever call it
 * is reached and whatever the file is.
 *
 * Callbacks run on the port's own threads with no lock of the library held. When Dravo_Stop or
 * Dravo_CloseFile has returned, no callback of that port is running or will run. Called from inside a
 * callback, Dravo_Stop, Dravo_CloseFile and Dravo_FreePort return 0 and do nothing.
 *
 * States: "open" means that a file is open on the port; "playing" that Dravo_Play succeeded since the last
 * Dravo_Stop (a paused port is playing); "stopped" that a file is open and not playing.
 *
 * Memory: all ports of a process together keep decoded pictures up to the smaller of 512 MB and an eighth of
 * the machine's memory. A port that is stopped keeps none.
 */
#ifndef DRAVO_H
#define DRAVO_H

#include <stdint.h>

#if defined(__GNUC__)
#define DRAVO_API __attribute__((visibility("default")))
#else
#define DRAVO_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* A rectangle in pixels of the picture, as shown; right and bottom lie outside it. */
typedef struct DravoRect {
    int32_t left;
    int32_t top;
    int32_t right;
    int32_t bottom;
} DravoRect;

/* Where a key frame lies. */
typedef struct DravoFramePos {
    int64_t offset;             /* of its first byte in the file */
    unsigned long frame;        /* frame number */
    unsigned long milliseconds; /* presentation time from the start of the file */
} DravoFramePos;

/* ---- Ports and files --------------------------------------------------------------------------------------
 */

/* Takes a free port and writes its number, counted from 1, to *port. At least 64 can be held at once. */
DRAVO_API int Dravo_GetPort(int* port);

/* Gives a port back; an open file is closed first. The number is invalid from then on. */
DRAVO_API int Dravo_FreePort(int port);

/*
 * Opens the file at `path` (bytes as the file system has them). Fails if a file is already open on the port,
 * if the file cannot be read or holds no picture that can be decoded. Returns within two seconds, and without
 * waiting for the index of a large raw stream (see Dravo_SetFileRefCallBack). The file is only ever read.
 * What lies on a share that does not answer cannot be read; while one hangs, other files of its folder fail
 * at once.
 */
DRAVO_API int Dravo_OpenFile(int port, const char* path);

/* Stops and closes the file. Options of the port (volume, colour, quality, ...) go back to their defaults. */
DRAVO_API int Dravo_CloseFile(int port);

/* ---- Playing ----------------------------------------------------------------------------------------------
 */

/*
 * Plays from the current position into the X window `windowId`, or without drawing when it is 0. On a playing
 * port it changes nothing but the window (a paused port stays paused). Open only.
 */
DRAVO_API int Dravo_Play(int port, unsigned int windowId);

/* Pauses (`pause` non-zero) or resumes. Fails when stopped. */
DRAVO_API int Dravo_Pause(int port, int pause);

/*
 * Stops: the position goes back to the start, the speed to normal, the window is left to its owner. Fails
 * when not playing. Sound of this port falls silent; whether sound is wanted is remembered.
 */
DRAVO_API int Dravo_Stop(int port);

/*
 * One speed level up or down. There are nine, from 1/16 to 16 times, each twice the one below. A paused port
 * goes on playing. Fails at the ends and when stopped.
 */
DRAVO_API int Dravo_Fast(int port);
DRAVO_API int Dravo_Slow(int port);

/*
 * Pauses and moves one frame on or back; returns when that picture is the current one. Fails at the last or
 * first frame, and when stopped.
 */
DRAVO_API int Dravo_OneByOne(int port);
DRAVO_API int Dravo_OneByOneBack(int port);

/* Draws the current picture again. Open only; succeeds also while there is no picture yet. */
DRAVO_API int Dravo_RefreshPlay(int port);

/* The same for one display region; fails for a region that is not set. Region 0 is the whole window. */
DRAVO_API int Dravo_RefreshPlayEx(int port, unsigned long region);

/* ---- Sound ------------------------------------------------------------------------------------------------
 */

/*
 * Makes this the one port that sounds. A file without sound, a machine without a device and a speed at which
 * sound is silent are no failures. Open only.
 */
DRAVO_API int Dravo_PlaySound(int port);

/* Silences whichever port sounds; succeeds also when none does. */
DRAVO_API int Dravo_StopSound(void);

/* Volume from 0 to 65535, full at first. */
DRAVO_API int Dravo_SetVolume(int port, unsigned short volume);

/* ---- Position ---------------------------------------------------------------------------------------------
 */

/*
 * Moving to a position returns at once; the picture follows, and of several requests only the newest is
 * decoded. The queries below report the new position at once. A paused port stays paused. All three fail when
 * not playing.
 *
 * A frame that a damaged file gives no picture for is passed over: a step goes on in its own direction, a
 * jump ends at a frame near by (before it on a paused port, else after it, the other side where there is
 * none). The queries then report the frame that is shown. What is not found within two seconds is given up,
 * and the picture stays.
 */

/* To a frame; fails at or past the total. */
DRAVO_API int Dravo_SetCurrentFrameNum(int port, unsigned long frame);

/* To frame round(position * total), at most the last; `position` runs from 0 to 1, else it fails. */
DRAVO_API int Dravo_SetPlayPos(int port, float position);

/* To the frame shown at that time; past the end of the file it fails. */
DRAVO_API int Dravo_SetPlayedTimeEx(int port, unsigned long milliseconds);

/* Frame number / total; 0 where nothing is open. */
DRAVO_API float Dravo_GetPlayPos(int port);

/* Time of the current frame, and length of the file, in seconds, both rounded down. */
DRAVO_API unsigned long Dravo_GetPlayedTime(int port);
DRAVO_API unsigned long Dravo_GetFileTime(int port);

/* Number of the current frame, or of the one that was jumped to; all ones before the first picture and where
 * nothing is open. */
DRAVO_API unsigned long Dravo_GetCurrentFrameNum(int port);

/* Count of frames; an estimate while the index of a large raw stream is being made. */
DRAVO_API unsigned long Dravo_GetFileTotalFrames(int port);

/* Frames a second, rounded. */
DRAVO_API unsigned long Dravo_GetCurrentFrameRate(int port);

/* ---- Pictures ---------------------------------------------------------------------------------------------
 */

/* Size in pixels of the picture as decoded, a rotation that the file asks for applied. Open only. */
DRAVO_API int Dravo_GetPictureSize(int port, long* width, long* height);

/*
 * Writes the current picture to `buffer` as a BMP (24 bits) or JPEG (quality 95, full-range BT.601) file and
 * the file's length to *written. Waits for a pending position first. The picture is as decoded: colour,
 * regions and window leave it alone. Fails when `size` bytes do not hold the file, and where there is no
 * picture. May be called from inside the display callback, where it gives the picture being displayed.
 */
DRAVO_API int Dravo_GetBMP(int port, unsigned char* buffer, unsigned long size, unsigned long* written);
DRAVO_API int Dravo_GetJPEG(int port, unsigned char* buffer, unsigned long size, unsigned long* written);

/* ---- Display ----------------------------------------------------------------------------------------------
 */

/*
 * Shows the part `rect` of the picture in the window `windowId` (`enable` non-zero), or ends that (zero;
 * `rect` may then be null). Region 0 is the main window's picture: a rectangle cuts it, an empty one (or
 * `enable` zero) shows it whole. Regions 1 to 15 are further windows; each ends with the file. Open only.
 */
DRAVO_API int Dravo_SetDisplayRegion(int port, unsigned long region, const DravoRect* rect,
                                     unsigned int windowId, int enable);

/*
 * Colour of what is displayed in a region, each value from 0 to 128; 64 leaves the picture as it is, to the
 * bit. A value out of range fails.
 */
DRAVO_API int Dravo_SetColor(int port, unsigned long region, int brightness, int contrast, int saturation,
                             int hue);

/* Evens out the brightness pumping at key frames. On at first. */
DRAVO_API int Dravo_SetDeflash(int port, int on);

/* The better scaler (non-zero, as at first) or the faster one. */
DRAVO_API int Dravo_SetPicQuality(int port, int high);

/* 1: normal, as at first; 2: half resolution, to save time. Others fail. */
DRAVO_API int Dravo_SetDisplayType(int port, int type);

/*
 * 1: each picture on time, as at first; 2: fewer wake-ups: pictures up to 10 ms off, and a window that was
 * uncovered or resized while playing is drawn again with the next picture. Others fail.
 */
DRAVO_API int Dravo_SetTimerType(int port, int type, unsigned long reserved);

/* How many of the unreferenced pictures between two others are left out while playing: 0, 1 or 2. */
DRAVO_API int Dravo_ThrowBFrameNum(int port, unsigned long count);

/* ---- Key frames -------------------------------------------------------------------------------------------
 */

/*
 * The key frame at or before, and the first one after, a position: a frame number when `type` is 1,
 * milliseconds when it is 2. Fail when there is none, and for a position outside the file.
 */
DRAVO_API int Dravo_GetKeyFramePos(int port, unsigned long value, unsigned long type, DravoFramePos* pos);
DRAVO_API int Dravo_GetNextKeyFramePos(int port, unsigned long value, unsigned long type, DravoFramePos* pos);

/* ---- Callbacks --------------------------------------------------------------------------------------------
 */

/* One of each kind a port; a null callback removes it. They outlast Dravo_Stop and end with Dravo_CloseFile;
 * registered before Dravo_OpenFile, they hold for the file opened next. */

/* Once when playing has reached the end of the file; again after a later position has been played to the end.
 */
DRAVO_API int Dravo_SetFileEndCallback(int port, void (*callback)(int port, void* user), void* user);

/* When the size of the picture changes within the file. */
DRAVO_API int Dravo_SetEncTypeChangeCallBack(int port, void (*callback)(int port, intptr_t user),
                                             intptr_t user);

/* Once for each file, when its index is complete and totals are exact; also when it was so at opening. */
DRAVO_API int Dravo_SetFileRefCallBack(int port, void (*callback)(unsigned int port, uintptr_t user),
                                       uintptr_t user);

/*
 * For every picture displayed. `buffer` holds `size` bytes of planar 4:2:0 (rows without padding), valid
 * until the callback returns; `stamp` is the picture's time in milliseconds; `type` is 3; `reserved` is 0.
 */
DRAVO_API int Dravo_SetDisplayCallBack(int port,
                                       void (*callback)(int port, char* buffer, int size, int width,
                                                        int height, int stamp, int type, int reserved));

#ifdef __cplusplus
}
#endif

#endif
