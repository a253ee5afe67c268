// The trace call and the trace sink: console, trace file and error file, size limit with one old
// generation, and the flush thread.
#pragma once

#include "shared/kel_types.h"

// Formats one trace line (module filter, level test, dump, ", File=%s, Line=%d" for levels 1 and 2)
// and hands it to the sinks. Never fails; always returns Kel_Good.
Kel_StatusCode Kel_P_Trace_Imp(uint32_t aModule, uint32_t aLevel, const void* pData, uint32_t aDataSize,
                               const char* pFile, int32_t aLine, const char* pFormat, ...)
#if defined(__GNUC__)
    __attribute__((format(printf, 7, 8)))
#endif
    ;

// True when a line of this module and level would be written (global level and module filter).
// Lets the callers skip argument preparation; the trace call tests it again itself.
bool Kel_P_Trace_IsEnabled(uint32_t aModule, uint32_t aLevel);

Kel_StatusCode Kel_P_Trace_Initialize(uint32_t aLevel);
Kel_StatusCode Kel_P_Trace_Finalize();
Kel_StatusCode Kel_P_Trace_Console_Enable();
Kel_StatusCode Kel_P_Trace_Console_Disable();
Kel_StatusCode Kel_P_Trace_File_Enable(const char* pFileName);
Kel_StatusCode Kel_P_Trace_File_Disable();
Kel_StatusCode Kel_P_Trace_File_Errors_Enable(const char* pFileName);
Kel_StatusCode Kel_P_Trace_File_Errors_Disable();
Kel_StatusCode Kel_P_Trace_File_Set_Size(int32_t aSize);
