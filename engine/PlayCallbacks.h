// What the playback library calls on its own threads. These functions only pass word on: they touch no widget
// and call the engine for nothing but a capture.
#pragma once

#include <cstdint>

// The file has been played to its end. `pUser` is a CPlayEvents, which gets kFileEnded, or null.
void FileEndCallback(int nPort, void* pUser);

// The size of the picture has changed. `nUser` is the address of a CPlayEvents, which gets kEncodingChanged,
// or 0.
void funEncChange(int nPort, std::intptr_t nUser);

// The file's index is complete. `nUser` is the address of a COperate, which is told so, or 0.
void FileRefDone(unsigned int nPort, std::uintptr_t nUser);

// A picture has been displayed: the main window may capture it. The arguments are not looked at.
void DisplayCBFun(int nPort, char* pBuffer, int nSize, int nWidth, int nHeight, int nStamp, int nType,
                  int nReserved);

// A moment to draw over the picture, which is not used.
void DrawFunCallBack(int nPort, void* pContext, int nUser);
