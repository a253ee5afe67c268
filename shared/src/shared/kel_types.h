// Basic types of the Kel code base: status codes, trace module identifiers, KEL_NULL.
#pragma once

#include <cstddef>
#include <cstdint>

#define KEL_NULL nullptr

// A status is an unsigned 32-bit word handed back as a signed 32-bit integer by the exports.
// Bit 31: failure. Bits 16..29: the code proper. Bits 0..15: a detail word that a success exit clears.
typedef uint32_t Kel_StatusCode;

constexpr Kel_StatusCode Kel_Good = 0x00000000u;
constexpr Kel_StatusCode Kel_GoodNoData = 0x00A90000u;
constexpr Kel_StatusCode Kel_GoodNoResponse = 0x00A50000u;
constexpr Kel_StatusCode Kel_Bad = 0x80000000u;
constexpr Kel_StatusCode Kel_BadInternalError = 0x80020000u;
constexpr Kel_StatusCode Kel_BadOutOfMemory = 0x80030000u;
constexpr Kel_StatusCode Kel_BadCommunicationError = 0x80050000u;
constexpr Kel_StatusCode Kel_BadTimeout = 0x800A0000u;
constexpr Kel_StatusCode Kel_BadOutOfRange = 0x803C0000u;
constexpr Kel_StatusCode Kel_BadNotImplemented = 0x80400000u;
constexpr Kel_StatusCode Kel_BadInvalidArgument = 0x80AB0000u;
constexpr Kel_StatusCode Kel_BadInvalidState = 0x80AF0000u;
constexpr Kel_StatusCode Kel_BadDeviceIncompleteAnswer = 0x8A020000u;
constexpr Kel_StatusCode Kel_BadDeviceNoAnswer = 0x8A030000u;
constexpr Kel_StatusCode Kel_BadDeviceAnswerTimeout = 0x8A040000u;
constexpr Kel_StatusCode Kel_BadDeviceUnknownResponse = 0x8A050000u;
constexpr Kel_StatusCode Kel_BadDeviceErrorResponse = 0x8A060000u;

// Callers test failure as "the status taken as signed is negative".
constexpr bool Kel_IsBad(Kel_StatusCode aStatus) { return (aStatus & 0x80000000u) != 0; }
constexpr bool Kel_IsGood(Kel_StatusCode aStatus) { return !Kel_IsBad(aStatus); }
// The exit trace says "GOOD" only when both severity bits are clear.
constexpr bool Kel_IsTracedGood(Kel_StatusCode aStatus) { return (aStatus & 0xC0000000u) == 0; }

// Trace module identifiers. Only those with a name string appear in entry lines; the others exist
// only in the trace call's fixed module filter.
enum Kel_Module : uint32_t
{
    Kel_Module_Serial = 1,
    Kel_Module_Mutex = 2,
    Kel_Module_Semaphore = 3,
    Kel_Module_Memory = 4,
    Kel_Module_Trace = 5,
    Kel_Module_FileSystem = 6,
    Kel_Module_Stopwatch = 8,
    Kel_Module_SerialChannel = 9,
    Kel_Module_DateTime = 10,
    Kel_Module_TcpClose = 13,
    Kel_Module_Utils = 16,
    Kel_Module_Tcp = 17,
    Kel_Module_ZentorProtocolClient = 257,
};

// Trace levels.
constexpr uint32_t KEL_TRACE_LEVEL_ERROR = 1;
constexpr uint32_t KEL_TRACE_LEVEL_NOTICE = 2;
constexpr uint32_t KEL_TRACE_LEVEL_INFO = 3;
constexpr uint32_t KEL_TRACE_LEVEL_FLOW = 4;
