// Trace start and stop of the shared layer, and the skeleton line helpers.
#define KEL_TRACE_FILE "shared/src/shared/kel_trace"
#include "shared/kel_trace.h"

Kel_StatusCode Kel_Trace_Initialize(uint32_t aLevel) { return Kel_P_Trace_Initialize(aLevel); }

Kel_StatusCode Kel_Trace_Finalize() { return Kel_P_Trace_Finalize(); }

const char* Kel_Trace_ModuleName(uint32_t aModule)
{
    switch (aModule)
    {
        case Kel_Module_Serial:
            return "Kel_Module_Serial";
        case Kel_Module_Mutex:
            return "Kel_Module_Mutex";
        case Kel_Module_Semaphore:
            return "Kel_Module_Semaphore";
        case Kel_Module_Memory:
            return "Kel_Module_Memory";
        case Kel_Module_Trace:
            return "Kel_Module_Trace";
        case Kel_Module_FileSystem:
            return "Kel_Module_FileSystem";
        case Kel_Module_Stopwatch:
            return "Kel_Module_Stopwatch";
        case Kel_Module_SerialChannel:
            return "Kel_Module_SerialChannel";
        case Kel_Module_DateTime:
            return "Kel_Module_DateTime";
        case Kel_Module_Utils:
            return "Kel_Module_Utils";
        case Kel_Module_Tcp:
            return "Kel_Module_Tcp";
        case Kel_Module_ZentorProtocolClient:
            return "Kel_Module_ZentorProtocolClient";
        default:
            return "";
    }
}

static Kel_StatusCode ExitLine(const Kel_TraceScope& aScope, int32_t aLine, uint32_t aLevel, Kel_StatusCode aStatus)
{
    Kel_P_Trace_Imp(aScope.module, aLevel, KEL_NULL, 0, aScope.file, aLine, "<-- \"%s\" = 0x%08X (%s).\n",
                    aScope.function, aStatus, Kel_IsTracedGood(aStatus) ? "GOOD" : "BAD");
    return aStatus;
}

void Kel_Trace_Enter(const Kel_TraceScope& aScope)
{
    if (!Kel_P_Trace_IsEnabled(aScope.module, KEL_TRACE_LEVEL_FLOW))
        return;
    Kel_P_Trace_Imp(aScope.module, KEL_TRACE_LEVEL_FLOW, KEL_NULL, 0, aScope.file, 0, "--> %s::%s (0x%08X)\n",
                    Kel_Trace_ModuleName(aScope.module), aScope.function, aScope.module);
}

Kel_StatusCode Kel_Trace_RejectNull(const Kel_TraceScope& aScope, int32_t aLine, const char* pName)
{
    Kel_P_Trace_Imp(aScope.module, KEL_TRACE_LEVEL_ERROR, KEL_NULL, 0, aScope.file, aLine,
                    "<-- ReturnError: Arg %s is NULL!\n", pName);
    return Kel_BadInvalidArgument;
}

Kel_StatusCode Kel_Trace_RejectZero(const Kel_TraceScope& aScope, int32_t aLine, const char* pName)
{
    Kel_P_Trace_Imp(aScope.module, KEL_TRACE_LEVEL_ERROR, KEL_NULL, 0, aScope.file, aLine,
                    "<-- ReturnError: Argument %s is 0!\n", pName);
    return Kel_BadInvalidArgument;
}

Kel_StatusCode Kel_Trace_RejectIf(const Kel_TraceScope& aScope, int32_t aLine, const char* pExpression,
                                  Kel_StatusCode aStatus)
{
    Kel_P_Trace_Imp(aScope.module, KEL_TRACE_LEVEL_ERROR, KEL_NULL, 0, aScope.file, aLine,
                    "<-- ReturnError: %s is true! Return 0x%08X\n", pExpression, aStatus);
    return aStatus;
}

Kel_StatusCode Kel_Trace_RejectCode(const Kel_TraceScope& aScope, int32_t aLine, Kel_StatusCode aStatus)
{
    Kel_P_Trace_Imp(aScope.module, KEL_TRACE_LEVEL_ERROR, KEL_NULL, 0, aScope.file, aLine,
                    "<-- ReturnError: 0x%08X\n", aStatus);
    return aStatus;
}

void Kel_Trace_GotoBad(const Kel_TraceScope& aScope, int32_t aLine, Kel_StatusCode aStatus)
{
    Kel_P_Trace_Imp(aScope.module, KEL_TRACE_LEVEL_ERROR, KEL_NULL, 0, aScope.file, aLine,
                    "--- GotoError: Bad statuscode 0x%08X\n", aStatus);
}

void Kel_Trace_GotoExpr(const Kel_TraceScope& aScope, int32_t aLine, const char* pExpression)
{
    Kel_P_Trace_Imp(aScope.module, KEL_TRACE_LEVEL_ERROR, KEL_NULL, 0, aScope.file, aLine,
                    "--- GotoError: Expr %s is true!\n", pExpression);
}

void Kel_Trace_GotoCode(const Kel_TraceScope& aScope, int32_t aLine, const char* pCodeName, Kel_StatusCode aStatus)
{
    Kel_P_Trace_Imp(aScope.module, KEL_TRACE_LEVEL_ERROR, KEL_NULL, 0, aScope.file, aLine,
                    "--- GotoError: %s. Statuscode 0x%08X\n", pCodeName, aStatus);
}

void Kel_Trace_GotoNull(const Kel_TraceScope& aScope, int32_t aLine, const char* pName)
{
    Kel_P_Trace_Imp(aScope.module, KEL_TRACE_LEVEL_ERROR, KEL_NULL, 0, aScope.file, aLine,
                    "--- GotoError: %s is NULL!\n", pName);
}

Kel_StatusCode Kel_Trace_ReturnEarly(const Kel_TraceScope& aScope, int32_t aLine, const char* pExpression,
                                     Kel_StatusCode aStatus)
{
    Kel_P_Trace_Imp(aScope.module, KEL_TRACE_LEVEL_NOTICE, KEL_NULL, 0, aScope.file, aLine,
                    "<-- Return: %s is true! Return 0x%08X\n", pExpression, aStatus);
    return aStatus & 0xFFFF0000u;
}

Kel_StatusCode Kel_Trace_ExitGood(const Kel_TraceScope& aScope, int32_t aLine, Kel_StatusCode aStatus)
{
    if (Kel_P_Trace_IsEnabled(aScope.module, KEL_TRACE_LEVEL_FLOW))
        ExitLine(aScope, aLine, KEL_TRACE_LEVEL_FLOW, aStatus);
    return aStatus & 0xFFFF0000u;
}

Kel_StatusCode Kel_Trace_ExitBad(const Kel_TraceScope& aScope, int32_t aLine, Kel_StatusCode aStatus)
{
    return ExitLine(aScope, aLine, KEL_TRACE_LEVEL_ERROR, aStatus);
}

Kel_StatusCode Kel_Trace_ExitBadError(const Kel_TraceScope& aScope, int32_t aLine, Kel_StatusCode aStatus,
                                      const char* pErrorText)
{
    Kel_P_Trace_Imp(aScope.module, KEL_TRACE_LEVEL_ERROR, KEL_NULL, 0, aScope.file, aLine,
                    "<-- \"%s\" = 0x%08X (%s) error=%s.\n", aScope.function, aStatus,
                    Kel_IsTracedGood(aStatus) ? "GOOD" : "BAD", pErrorText != KEL_NULL ? pErrorText : "");
    return aStatus;
}
