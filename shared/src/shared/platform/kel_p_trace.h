// The trace sink: console, trace file and error file, size limit with one old generation, and the
// flush thread. It sits above the platform files whose lock and thread it uses; the trace call itself
// is in kel_p_trace_line.h.
#pragma once

#include "shared/platform/kel_p_trace_line.h"

// A session's trace files, relative to the host's working directory, with the system's separator.
#ifdef _WIN32
inline constexpr const char* KEL_P_TRACE_FILE = "tmp\\trace.txt";
inline constexpr const char* KEL_P_TRACE_ERRORS_FILE = "tmp\\traceerrors.txt";
#else
inline constexpr const char* KEL_P_TRACE_FILE = "tmp/trace.txt";
inline constexpr const char* KEL_P_TRACE_ERRORS_FILE = "tmp/traceerrors.txt";
#endif

Kel_StatusCode Kel_P_Trace_Initialize(uint32_t aLevel);
Kel_StatusCode Kel_P_Trace_Finalize();
Kel_StatusCode Kel_P_Trace_Console_Enable();
Kel_StatusCode Kel_P_Trace_Console_Disable();
Kel_StatusCode Kel_P_Trace_File_Enable(const char* pFileName);
Kel_StatusCode Kel_P_Trace_File_Disable();
Kel_StatusCode Kel_P_Trace_File_Errors_Enable(const char* pFileName);
Kel_StatusCode Kel_P_Trace_File_Errors_Disable();
Kel_StatusCode Kel_P_Trace_File_Set_Size(int32_t aSize);

// Tracing of a session: Initialize starts it at the given level (and the flush thread), Finalize ends
// it for good.
Kel_StatusCode Kel_Trace_Initialize(uint32_t aLevel);
Kel_StatusCode Kel_Trace_Finalize();
