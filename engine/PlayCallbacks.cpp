#include "engine/PlayCallbacks.h"

#include "engine/Operate.h"
#include "engine/PlayEvents.h"

CPlayEvents* g_pApp = nullptr;

void FileEndCallback(int /*nPort*/, void* pUser) {
    if (pUser != nullptr) static_cast<CPlayEvents*>(pUser)->SendMsg(CPlayEvents::kFileEnded);
}

// The library carries the registered address as a number, so the next two turn it back.

void funEncChange(int /*nPort*/, std::intptr_t nUser) {
    if (nUser != 0) reinterpret_cast<CPlayEvents*>(nUser)->SendMsg(CPlayEvents::kEncodingChanged);
}

void FileRefDone(unsigned int /*nPort*/, std::uintptr_t nUser) {
    if (nUser != 0) reinterpret_cast<COperate*>(nUser)->SetFileRefStatus(true);
}

void DisplayCBFun(int /*nPort*/, char* /*pBuffer*/, int /*nSize*/, int /*nWidth*/, int /*nHeight*/,
                  int /*nStamp*/, int /*nType*/, int /*nReserved*/) {
    if (g_pApp != nullptr) g_pApp->ConCapPic();
}

void DrawFunCallBack(int /*nPort*/, void* /*pContext*/, int /*nUser*/) {}
