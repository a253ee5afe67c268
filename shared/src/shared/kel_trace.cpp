// The skeleton line helpers.
#define KEL_TRACE_FILE "shared/src/shared/kel_trace"
#include "shared/kel_trace.h"

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

namespace
{
// A skeleton line: its fixed form is written piece by piece, with no format to read, and only when
// the level and the module filter let it through.
void Write(const Kel_TraceScope& aScope, int32_t aLine, uint32_t aLevel, Kel_P_TraceLine& rLine)
{
    Kel_P_Trace_Write(aLevel, KEL_NULL, 0, aScope.file, aLine, rLine);
}

template <typename Build>
void Line(const Kel_TraceScope& aScope, int32_t aLine, uint32_t aLevel, Build aBuild)
{
    if (!Kel_P_Trace_IsEnabled(aScope.module, aLevel))
        return;
    Kel_P_TraceLine line;
    aBuild(line);
    Write(aScope, aLine, aLevel, line);
}

void AppendFunction(Kel_P_TraceLine& rLine, const Kel_TraceScope& aScope)
{
    if (aScope.functionLength != 0)
        rLine.Append(aScope.function, aScope.functionLength);
    else
        rLine.Append(aScope.function);
}

// The module names of the flow modules, copied with their lengths known; the rest by their text.
void AppendModuleName(Kel_P_TraceLine& rLine, uint32_t aModule)
{
    switch (aModule)
    {
        case Kel_Module_Serial:
            rLine.Literal("Kel_Module_Serial");
            break;
        case Kel_Module_SerialChannel:
            rLine.Literal("Kel_Module_SerialChannel");
            break;
        case Kel_Module_ZentorProtocolClient:
            rLine.Literal("Kel_Module_ZentorProtocolClient");
            break;
        default:
            rLine.Append(Kel_Trace_ModuleName(aModule));
            break;
    }
}

// "<-- \"%s\" = 0x%08X (%s)" of the exits, without the rest of the line.
void AppendExit(Kel_P_TraceLine& rLine, const Kel_TraceScope& aScope, Kel_StatusCode aStatus)
{
    rLine.Literal("<-- \"");
    AppendFunction(rLine, aScope);
    rLine.Literal("\" = 0x");
    rLine.Hex8(aStatus);
    if (Kel_IsTracedGood(aStatus))
        rLine.Literal(" (GOOD)");
    else
        rLine.Literal(" (BAD)");
}
} // namespace

void Kel_Trace_ExitLine(const Kel_TraceScope& aScope, int32_t aLine, uint32_t aLevel, Kel_StatusCode aStatus)
{
    if (!Kel_P_Trace_IsEnabled(aScope.module, aLevel))
        return;
    Kel_P_TraceLine line;
    AppendExit(line, aScope, aStatus);
    line.Literal(".\n");
    Write(aScope, aLine, aLevel, line);
}

void Kel_Trace_EnterLine(const Kel_TraceScope& aScope)
{
    Kel_P_TraceLine line;
    line.Literal("--> ");
    AppendModuleName(line, aScope.module);
    line.Literal("::");
    AppendFunction(line, aScope);
    line.Literal(" (0x");
    line.Hex8(aScope.module);
    line.Literal(")\n");
    Write(aScope, 0, KEL_TRACE_LEVEL_FLOW, line);
}

Kel_StatusCode Kel_Trace_RejectNull(const Kel_TraceScope& aScope, int32_t aLine, const char* pName)
{
    Line(aScope, aLine, KEL_TRACE_LEVEL_ERROR,
         [pName](Kel_P_TraceLine& rLine)
         {
             rLine.Literal("<-- ReturnError: Arg ");
             rLine.Append(pName);
             rLine.Literal(" is NULL!\n");
         });
    return Kel_BadInvalidArgument;
}

Kel_StatusCode Kel_Trace_RejectZero(const Kel_TraceScope& aScope, int32_t aLine, const char* pName)
{
    Line(aScope, aLine, KEL_TRACE_LEVEL_ERROR,
         [pName](Kel_P_TraceLine& rLine)
         {
             rLine.Literal("<-- ReturnError: Argument ");
             rLine.Append(pName);
             rLine.Literal(" is 0!\n");
         });
    return Kel_BadInvalidArgument;
}

Kel_StatusCode Kel_Trace_RejectIf(const Kel_TraceScope& aScope, int32_t aLine, const char* pExpression,
                                  Kel_StatusCode aStatus)
{
    Line(aScope, aLine, KEL_TRACE_LEVEL_ERROR,
         [=](Kel_P_TraceLine& rLine)
         {
             rLine.Literal("<-- ReturnError: ");
             rLine.Append(pExpression);
             rLine.Literal(" is true! Return 0x");
             rLine.Hex8(aStatus);
             rLine.Char('\n');
         });
    return aStatus;
}

Kel_StatusCode Kel_Trace_RejectCode(const Kel_TraceScope& aScope, int32_t aLine, Kel_StatusCode aStatus)
{
    Line(aScope, aLine, KEL_TRACE_LEVEL_ERROR,
         [aStatus](Kel_P_TraceLine& rLine)
         {
             rLine.Literal("<-- ReturnError: 0x");
             rLine.Hex8(aStatus);
             rLine.Char('\n');
         });
    return aStatus;
}

void Kel_Trace_GotoBad(const Kel_TraceScope& aScope, int32_t aLine, Kel_StatusCode aStatus)
{
    Line(aScope, aLine, KEL_TRACE_LEVEL_ERROR,
         [aStatus](Kel_P_TraceLine& rLine)
         {
             rLine.Literal("--- GotoError: Bad statuscode 0x");
             rLine.Hex8(aStatus);
             rLine.Char('\n');
         });
}

void Kel_Trace_GotoExpr(const Kel_TraceScope& aScope, int32_t aLine, const char* pExpression)
{
    Line(aScope, aLine, KEL_TRACE_LEVEL_ERROR,
         [pExpression](Kel_P_TraceLine& rLine)
         {
             rLine.Literal("--- GotoError: Expr ");
             rLine.Append(pExpression);
             rLine.Literal(" is true!\n");
         });
}

void Kel_Trace_GotoCode(const Kel_TraceScope& aScope, int32_t aLine, const char* pCodeName,
                        Kel_StatusCode aStatus)
{
    Line(aScope, aLine, KEL_TRACE_LEVEL_ERROR,
         [=](Kel_P_TraceLine& rLine)
         {
             rLine.Literal("--- GotoError: ");
             rLine.Append(pCodeName);
             rLine.Literal(". Statuscode 0x");
             rLine.Hex8(aStatus);
             rLine.Char('\n');
         });
}

void Kel_Trace_GotoNull(const Kel_TraceScope& aScope, int32_t aLine, const char* pName)
{
    Line(aScope, aLine, KEL_TRACE_LEVEL_ERROR,
         [pName](Kel_P_TraceLine& rLine)
         {
             rLine.Literal("--- GotoError: ");
             rLine.Append(pName);
             rLine.Literal(" is NULL!\n");
         });
}

Kel_StatusCode Kel_Trace_ReturnEarly(const Kel_TraceScope& aScope, int32_t aLine, const char* pExpression,
                                     Kel_StatusCode aStatus)
{
    Line(aScope, aLine, KEL_TRACE_LEVEL_NOTICE,
         [=](Kel_P_TraceLine& rLine)
         {
             rLine.Literal("<-- Return: ");
             rLine.Append(pExpression);
             rLine.Literal(" is true! Return 0x");
             rLine.Hex8(aStatus);
             rLine.Char('\n');
         });
    return aStatus & 0xFFFF0000u;
}

Kel_StatusCode Kel_Trace_ExitBad(const Kel_TraceScope& aScope, int32_t aLine, Kel_StatusCode aStatus)
{
    Kel_Trace_ExitLine(aScope, aLine, KEL_TRACE_LEVEL_ERROR, aStatus);
    return aStatus;
}

Kel_StatusCode Kel_Trace_ExitBadError(const Kel_TraceScope& aScope, int32_t aLine, Kel_StatusCode aStatus,
                                      const char* pErrorText)
{
    Line(aScope, aLine, KEL_TRACE_LEVEL_ERROR,
         [&](Kel_P_TraceLine& rLine)
         {
             AppendExit(rLine, aScope, aStatus);
             rLine.Literal(" error=");
             rLine.Append(pErrorText != KEL_NULL ? pErrorText : "");
             rLine.Literal(".\n");
         });
    return aStatus;
}
