// Tells libswscale where the processor's gather instructions are slow.
//
// Its AVX2 code for scaling rows is made of them. Many Intel processors have microcode that keeps secrets
// from leaking through them, and with it they take several times as long as the loads they stand for;
// libavutil does not know these processors. The pixels are the same either way.
#pragma once

namespace ordune {

// Finds out, the first time it is called, and sets libavutil's flag for the process. Takes less than a
// millisecond. Before any libswscale context is made; any thread.
void AvoidSlowGather();

} // namespace ordune
