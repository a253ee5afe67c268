// Trace start and stop, and the helpers that write the fixed lines of every function's skeleton:
// entry, argument rejections, failed steps, early returns and the one exit.
//
// A source file defines KEL_TRACE_FILE (its path without extension, as shown in the File= part of
// error lines) before including this header. A function then reads:
//
//   Kel_StatusCode Kel_SerialChannel_ClearBuffer(Kel_SerialChannel_Context* pSerialChannelContext, uint32_t
//   aInput)
//   {
//       KEL_ENTER(Kel_Module_SerialChannel);
//       KEL_REJECT_NULL(pSerialChannelContext);
//       Kel_StatusCode status = Kel_Good;
//       if (pSerialChannelContext->pClearBuffer != KEL_NULL)
//           KEL_GOTO_IF_BAD(status, pSerialChannelContext->pClearBuffer(pSerialChannelContext->pContext,
//           aInput));
//       KEL_EXIT(status);
//   }
//
// A failed step traces its "--- GotoError" line and the failure exit, and returns at once (the
// single exit of the skeleton is the pair of exit helpers). Functions that must release something
// on failure call the Kel_Trace_* functions directly.
#pragma once

#include "shared/kel_types.h"
#include "shared/platform/kel_p_trace_line.h"

// Name string of a module for entry lines ("Kel_Module_Serial"); "" for modules without one.
const char* Kel_Trace_ModuleName(uint32_t aModule);

struct Kel_TraceScope
{
    uint32_t module;
    const char* function;
    const char* file;
    // Length of the function's name when the scope was made from a literal or __func__; 0: not known.
    uint32_t functionLength = 0;
};

// Length of a name given as a literal or as __func__ (an array: a pointer does not compile here).
template <size_t N> constexpr uint32_t Kel_Trace_NameLength(const char (&)[N])
{
    return static_cast<uint32_t>(N - 1);
}

// "--> %s::%s (0x%08X)\n", level 4. The level and module test is inline: with a constant module
// the compiler reduces it to the level test, and a dropped line costs no call.
void Kel_Trace_EnterLine(const Kel_TraceScope& aScope);
inline void Kel_Trace_Enter(const Kel_TraceScope& aScope)
{
    if (Kel_P_Trace_IsEnabled(aScope.module, KEL_TRACE_LEVEL_FLOW))
        Kel_Trace_EnterLine(aScope);
}
// "<-- ReturnError: Arg %s is NULL!\n", level 1; returns Kel_BadInvalidArgument.
Kel_StatusCode Kel_Trace_RejectNull(const Kel_TraceScope& aScope, int32_t aLine, const char* pName);
// "<-- ReturnError: Argument %s is 0!\n", level 1; returns Kel_BadInvalidArgument.
Kel_StatusCode Kel_Trace_RejectZero(const Kel_TraceScope& aScope, int32_t aLine, const char* pName);
// "<-- ReturnError: %s is true! Return 0x%08X\n", level 1; returns aStatus.
Kel_StatusCode Kel_Trace_RejectIf(const Kel_TraceScope& aScope, int32_t aLine, const char* pExpression,
                                  Kel_StatusCode aStatus);
// "<-- ReturnError: 0x%08X\n", level 1; returns aStatus.
Kel_StatusCode Kel_Trace_RejectCode(const Kel_TraceScope& aScope, int32_t aLine, Kel_StatusCode aStatus);
// "--- GotoError: Bad statuscode 0x%08X\n", level 1.
void Kel_Trace_GotoBad(const Kel_TraceScope& aScope, int32_t aLine, Kel_StatusCode aStatus);
// "--- GotoError: Expr %s is true!\n", level 1.
void Kel_Trace_GotoExpr(const Kel_TraceScope& aScope, int32_t aLine, const char* pExpression);
// "--- GotoError: %s. Statuscode 0x%08X\n", level 1 (pCodeName is the code's name, "Kel_BadOutOfRange").
void Kel_Trace_GotoCode(const Kel_TraceScope& aScope, int32_t aLine, const char* pCodeName,
                        Kel_StatusCode aStatus);
// "--- GotoError: %s is NULL!\n", level 1.
void Kel_Trace_GotoNull(const Kel_TraceScope& aScope, int32_t aLine, const char* pName);
// "<-- Return: %s is true! Return 0x%08X\n", level 2; returns aStatus with the detail word cleared.
Kel_StatusCode Kel_Trace_ReturnEarly(const Kel_TraceScope& aScope, int32_t aLine, const char* pExpression,
                                     Kel_StatusCode aStatus);
// "<-- \"%s\" = 0x%08X (%s).\n" at the given level.
void Kel_Trace_ExitLine(const Kel_TraceScope& aScope, int32_t aLine, uint32_t aLevel, Kel_StatusCode aStatus);
// Success exit: "<-- \"%s\" = 0x%08X (%s).\n" at level 4; returns aStatus & 0xFFFF0000.
inline Kel_StatusCode Kel_Trace_ExitGood(const Kel_TraceScope& aScope, int32_t aLine, Kel_StatusCode aStatus)
{
    if (Kel_P_Trace_IsEnabled(aScope.module, KEL_TRACE_LEVEL_FLOW))
        Kel_Trace_ExitLine(aScope, aLine, KEL_TRACE_LEVEL_FLOW, aStatus);
    return aStatus & 0xFFFF0000u;
}
// Failure exit: the same line at level 1; returns aStatus unchanged.
Kel_StatusCode Kel_Trace_ExitBad(const Kel_TraceScope& aScope, int32_t aLine, Kel_StatusCode aStatus);
// Failure exit with the C library's text of the current error number:
// "<-- \"%s\" = 0x%08X (%s) error=%s.\n" at level 1; returns aStatus unchanged.
Kel_StatusCode Kel_Trace_ExitBadError(const Kel_TraceScope& aScope, int32_t aLine, Kel_StatusCode aStatus,
                                      const char* pErrorText);

#define KEL_ENTER_AS(aModule, aName)                                                                         \
    const Kel_TraceScope kelScope{(aModule), (aName), KEL_TRACE_FILE, Kel_Trace_NameLength(aName)};          \
    Kel_Trace_Enter(kelScope)
#define KEL_ENTER(aModule) KEL_ENTER_AS(aModule, __func__)

// Free-form lines of the current function's module (progress messages, dumps). A line that the level
// or the module filter drops is not formatted, and its arguments are not evaluated.
#define KEL_TRACE(aLevel, ...)                                                                               \
    do                                                                                                       \
    {                                                                                                        \
        if (Kel_P_Trace_IsEnabled(kelScope.module, (aLevel)))                                                \
            Kel_P_Trace_Imp(kelScope.module, (aLevel), KEL_NULL, 0, kelScope.file, __LINE__, __VA_ARGS__);   \
    } while (0)
#define KEL_TRACE_DUMP(aLevel, pData, aSize, ...)                                                            \
    do                                                                                                       \
    {                                                                                                        \
        if (Kel_P_Trace_IsEnabled(kelScope.module, (aLevel)))                                                \
            Kel_P_Trace_Imp(kelScope.module, (aLevel), (pData), (aSize), kelScope.file, __LINE__,            \
                            __VA_ARGS__);                                                                    \
    } while (0)

#define KEL_REJECT_NULL(p)                                                                                   \
    do                                                                                                       \
    {                                                                                                        \
        if ((p) == KEL_NULL)                                                                                 \
            return Kel_Trace_RejectNull(kelScope, __LINE__, #p);                                             \
    } while (0)
// The same with the name written as given (a member reached through another name, say).
#define KEL_REJECT_NULL_AS(p, aName)                                                                         \
    do                                                                                                       \
    {                                                                                                        \
        if ((p) == KEL_NULL)                                                                                 \
            return Kel_Trace_RejectNull(kelScope, __LINE__, (aName));                                        \
    } while (0)
#define KEL_REJECT_ZERO(n)                                                                                   \
    do                                                                                                       \
    {                                                                                                        \
        if ((n) == 0)                                                                                        \
            return Kel_Trace_RejectZero(kelScope, __LINE__, #n);                                             \
    } while (0)
#define KEL_REJECT_IF(aCondition, aStatus)                                                                   \
    do                                                                                                       \
    {                                                                                                        \
        if (aCondition)                                                                                      \
            return Kel_Trace_RejectIf(kelScope, __LINE__, #aCondition, (aStatus));                           \
    } while (0)
#define KEL_REJECT_CODE(aStatus) return Kel_Trace_RejectCode(kelScope, __LINE__, (aStatus))

#define KEL_GOTO_IF_BAD(aStatusVariable, aStep)                                                              \
    do                                                                                                       \
    {                                                                                                        \
        (aStatusVariable) = (aStep);                                                                         \
        if (Kel_IsBad(aStatusVariable))                                                                      \
        {                                                                                                    \
            Kel_Trace_GotoBad(kelScope, __LINE__, (aStatusVariable));                                        \
            return Kel_Trace_ExitBad(kelScope, __LINE__, (aStatusVariable));                                 \
        }                                                                                                    \
    } while (0)
// A failed operating-system call: "--- GotoError: Expr (...) is true!" and Kel_BadInternalError.
#define KEL_GOTO_IF_EXPR(aCondition)                                                                         \
    do                                                                                                       \
    {                                                                                                        \
        if (aCondition)                                                                                      \
        {                                                                                                    \
            Kel_Trace_GotoExpr(kelScope, __LINE__, #aCondition);                                             \
            return Kel_Trace_ExitBad(kelScope, __LINE__, Kel_BadInternalError);                              \
        }                                                                                                    \
    } while (0)
// A failure with a named code: "--- GotoError: Kel_BadOutOfRange. Statuscode 0x803C0000".
#define KEL_GOTO_CODE(aCode)                                                                                 \
    do                                                                                                       \
    {                                                                                                        \
        Kel_Trace_GotoCode(kelScope, __LINE__, #aCode, (aCode));                                             \
        return Kel_Trace_ExitBad(kelScope, __LINE__, (aCode));                                               \
    } while (0)
#define KEL_GOTO_CODE_IF(aCondition, aCode)                                                                  \
    do                                                                                                       \
    {                                                                                                        \
        if (aCondition)                                                                                      \
            KEL_GOTO_CODE(aCode);                                                                            \
    } while (0)
// A null result: "--- GotoError: ptm is NULL!" and the given code.
#define KEL_GOTO_IF_NULL(p, aStatus)                                                                         \
    do                                                                                                       \
    {                                                                                                        \
        if ((p) == KEL_NULL)                                                                                 \
        {                                                                                                    \
            Kel_Trace_GotoNull(kelScope, __LINE__, #p);                                                      \
            return Kel_Trace_ExitBad(kelScope, __LINE__, (aStatus));                                         \
        }                                                                                                    \
    } while (0)
// An early success return: "<-- Return: cond is true! Return 0x...", level 2.
#define KEL_RETURN_IF(aCondition, aStatus)                                                                   \
    do                                                                                                       \
    {                                                                                                        \
        if (aCondition)                                                                                      \
            return Kel_Trace_ReturnEarly(kelScope, __LINE__, #aCondition, (aStatus));                        \
    } while (0)

#define KEL_EXIT(aStatus) return Kel_Trace_ExitGood(kelScope, __LINE__, (aStatus))
#define KEL_EXIT_BAD(aStatus) return Kel_Trace_ExitBad(kelScope, __LINE__, (aStatus))
// One exit chosen by the status: the failure exit for a failing status, else the success exit.
#define KEL_EXIT_STATUS(aStatus)                                                                             \
    do                                                                                                       \
    {                                                                                                        \
        const Kel_StatusCode kelFinal_ = (aStatus);                                                          \
        if (Kel_IsBad(kelFinal_))                                                                            \
            KEL_EXIT_BAD(kelFinal_);                                                                         \
        KEL_EXIT(kelFinal_);                                                                                 \
    } while (0)
