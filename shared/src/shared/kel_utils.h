// Utilities: calendar helpers over DateTime, Unix and ISO times, text forms, numeric and bit helpers,
// sorting, the periodic timer test, the utilities lock, the watchdog helpers and data protection
// (password encryption, MD5 digest, the compression entry points).
//
// The implementation is split by theme: kel_utils.cpp (dates, texts, numbers, sorting, timer, watchdog),
// kel_utils_locks.cpp (the lock), kel_utils_protection.cpp (data protection).
#pragma once

#include "shared/kel_types.h"
#include "shared/kel_memory.h"
#include "shared/platform/kel_p_datetime.h"
#include "shared/platform/kel_p_mutex.h"
#include "shared/platform/kel_p_stopwatch.h"
#include "shared/platform/kel_p_watchdog.h"

// ---- Dates and times (local calendar fields) ----
Kel_StatusCode Kel_Utils_CreateDateTime(uint16_t aYear, uint8_t aMonth, uint8_t aDay, uint8_t aHour, uint8_t aMinute,
                                        uint8_t aSecond, uint16_t aMillisecond, DateTime* pDateTime);
Kel_StatusCode Kel_Utils_DecodeDateTime(const DateTime* pDateTime, uint16_t* pYear, uint8_t* pMonth, uint8_t* pDay,
                                        uint8_t* pHour, uint8_t* pMinute, uint8_t* pSecond, uint16_t* pMillisecond);
Kel_StatusCode Kel_Utils_IsEqualDateTime(const DateTime* pDateTime1, const DateTime* pDateTime2, uint32_t* pIsEqual);
// 1 for a null pointer or a record of all zero bytes, else 0.
uint32_t Kel_Utils_IsEmptyDate(const DateTime* pDateTime);
// 1 for a null buffer, a size below 1 or all bytes zero, else 0.
uint32_t Kel_Utils_IsEmpty(const void* pBuffer, int32_t aSize);
// 1 = Monday .. 7 = Sunday (Zeller congruence); arguments are not checked.
uint32_t Kel_Utils_GetDayOfWeek(uint16_t aYear, uint16_t aMonth, uint16_t aDay);
Kel_StatusCode Kel_Utils_GetEpochDate(DateTime* pDate);
Kel_StatusCode Kel_Utils_DateTimeToUnixTime(const DateTime* pDateTime, uint32_t* pUnixTime);
Kel_StatusCode Kel_Utils_UnixTimeToDateTime(uint32_t aUnixTime, DateTime* pDateTime);
Kel_StatusCode Kel_Utils_DateTimeToISOTime(const DateTime* pDateTime, char* pText, uint32_t aSize);
Kel_StatusCode Kel_Utils_ISOTimeToDateTime(const char* pText, DateTime* pDateTime);
Kel_StatusCode Kel_Utils_DateTimeToStr(const DateTime* pDateTime, char* pText, uint32_t aSize);
Kel_StatusCode Kel_Utils_DataToStr(const uint8_t* pData, uint32_t aLength, char* pText, uint32_t aSize);
Kel_StatusCode Kel_Utils_AddMonths(DateTime* pDateTime, int16_t aMonths);
Kel_StatusCode Kel_Utils_GetLocalTimeShift(uint16_t* pMinutes);

// ---- Numbers, bits, strings, sorting ----
double Kel_Utils_RoundValue(double aValue, uint8_t aDigits);
double Kel_Utils_MathPow(double aBase, double aExponent);
double Kel_Utils_MathAbs(double aValue);
uint32_t Kel_Utils_IsSetBit64(uint32_t aMaskLow, uint32_t aMaskHigh, int8_t aBit);
Kel_StatusCode Kel_Utils_SetBit64(uint64_t* pMask, int8_t aBit);
Kel_StatusCode Kel_Utils_CountSubstringsInString(const char* pString, const char* pSubString, uint32_t* pCount);
typedef int (*Kel_Utils_CompareFunction)(const void* pElement1, const void* pElement2);
Kel_StatusCode Kel_Utils_QSort(void* pElements, uint32_t aCount, uint32_t aElementSize,
                               Kel_Utils_CompareFunction pfnCompare, void* pUnused);
Kel_StatusCode Kel_Utils_SetPathSeparator(char* pPath, uint32_t aSize);

// ---- Periodic timer test over a stopwatch ----
Kel_StatusCode Kel_Utils_IsTimer(Kel_P_Stopwatch_Context* pStopwatch, uint32_t aPeriodLow, uint32_t aPeriodHigh,
                                 uint32_t aStartIfStopped, uint32_t aRestart, uint32_t* pIsTimer);

// ---- Utilities lock: the "hMutex" lock with a locked flag ----
struct Kel_Utils_Lock_Context
{
    Kel_P_Mutex_Context mutex;
    uint32_t locked;
};

Kel_StatusCode Kel_Utils_CreateLock(Kel_Utils_Lock_Context* pLock);
Kel_StatusCode Kel_Utils_Lock(Kel_Utils_Lock_Context* pLock);
Kel_StatusCode Kel_Utils_Unlock(Kel_Utils_Lock_Context* pLock);
Kel_StatusCode Kel_Utils_DeleteLock(Kel_Utils_Lock_Context* pLock);

// ---- Watchdog helpers (the platform has no watchdog: start fails with Kel_BadNotImplemented) ----
struct Kel_Utils_Watchdog_Context
{
    Kel_P_WatchDog_Context watchdog;
    Kel_P_Stopwatch_Context stopwatch;
};

Kel_StatusCode Kel_Utils_StartWatchdog(Kel_Utils_Watchdog_Context* pWatchdog, uint32_t aTimeout, uint32_t aFlags);
Kel_StatusCode Kel_Utils_ResetWatchdog(Kel_Utils_Watchdog_Context* pWatchdog);
Kel_StatusCode Kel_Utils_StopWatchdog(Kel_Utils_Watchdog_Context* pWatchdog);

// ---- Data protection ----
// MD5 digest of aLength bytes into the 16 bytes at md5.
Kel_StatusCode Kel_Utils_Md5Hash(const uint8_t* pData, uint32_t aLength, uint8_t* md5);
// AES-128-CBC with PKCS#7 padding; key and IV are both the MD5 digest of the password.
Kel_StatusCode Kel_Utils_EncryptData(Kel_Memory_Context* pSource, int32_t aSourceLength, const uint8_t* pPassword,
                                     uint32_t aPasswordLength, Kel_Memory_Context* pDest, int32_t* pDestLength);
Kel_StatusCode Kel_Utils_DecryptData(Kel_Memory_Context* pSource, int32_t aSourceLength, const uint8_t* pPassword,
                                     uint32_t aPasswordLength, Kel_Memory_Context* pDest, int32_t* pDestLength);
// Not implemented in this build: Kel_BadNotImplemented with a destination size of 0.
Kel_StatusCode Kel_Utils_CompressData(Kel_Memory_Context* pSource, int32_t aSourceLength, Kel_Memory_Context* pDest,
                                      int32_t* pDestSize);
Kel_StatusCode Kel_Utils_CompressData2(Kel_Memory_Context* pSource, int32_t aSourceLength, Kel_Memory_Context* pDest,
                                       int32_t* pDestSize, int32_t aLevel);
Kel_StatusCode Kel_Utils_DecompressData(Kel_Memory_Context* pSource, int32_t aSourceLength, Kel_Memory_Context* pDest,
                                        int32_t* pDestSize);
