/* Q310: the exported interface of the single-phase meter communication library, for host programs.
 *
 * One connection per process: eOpen (serial port) or eTcpOpen (TCP serial bridge), optionally a path
 * flag (eSetEchoFlag, eSetGSMFlag, eSetTcpFlag), then eReadSerialNumber (creates the protocol client for
 * the meter address), then any read or write, then eClose. Call from one thread at a time.
 *
 * Every argument is one 32-bit word: a 32-bit integer (byte values use the low 8 bits) or a pointer.
 * Results: 1 success; 0 a failed exchange with a fixed Windows-1251 message written into outErr
 * (zero-terminated; the host's buffer must hold at least 78 bytes); Q310_BAD_INVALID_ARGUMENT
 * (0x80AB0000, negative) for a null pointer, with nothing sent and nothing written. Exceptions are
 * stated at each function. Texts are Windows-1251 and written without a length check: the host supplies
 * room for the longest text stated. The first argument `adr` of the data exports is the meter address;
 * only eReadSerialNumber uses it, every other export ignores it.
 *
 * The library exports these functions with a leading underscore (_eOpen, ...) on 32-bit Windows and
 * under their plain names in libq310.so.
 */
#ifndef Q310_H
#define Q310_H

#include <stdint.h>

#if defined(_WIN32)
#define Q310_CALL __cdecl
#else
#define Q310_CALL
#endif

#define Q310_BAD_INVALID_ARGUMENT ((int32_t)0x80AB0000u)

#ifdef __cplusplus
extern "C"
{
#endif

    /* ---- Session and connection ---- */

    /* Opens COM<portNumber> with the mode text "baud=%d parity=%s data=%d stop=%d dtr=%s rts=%s" (parity
     * None, Odd, Even, Mask or Space, exact case) and five time-outs in ms (read interval, read total
     * multiplier, read total constant, write total multiplier, write total constant); starts tracing. */
    int32_t Q310_CALL eOpen(int32_t portNumber, const char* mode, const uint32_t* pCommTimeOuts,
                            char* outErr);
    /* Connects to a TCP serial bridge at ipAddress:tcpPort; readTimeout in ms; reserved is ignored. */
    int32_t Q310_CALL eTcpOpen(int32_t tcpPort, const char* ipAddress, uint32_t reserved,
                               uint32_t readTimeout, char* outErr);
    /* Closes the socket and the port and stops tracing; never writes outErr. */
    int32_t Q310_CALL eClose(uint32_t reserved, char* outErr);
    /* Nonzero: the RS-485 line echoes every request. Returns 0 in every case. */
    int32_t Q310_CALL eSetEchoFlag(uint32_t flag);
    /* 1: GSM data call with echo, 2: GSM gateway; 1 on success or for other values, 0 if the switch failed.
     */
    int32_t Q310_CALL eSetGSMFlag(uint32_t mode);
    /* tcpFlag 0 closes the socket; tcpEchoFlag: the bridge echoes requests. Stops tracing; returns 0 then. */
    int32_t Q310_CALL eSetTcpFlag(uint32_t tcpFlag, uint32_t tcpEchoFlag);

    /* ---- GSM modem commands (need a protocol client: eReadSerialNumber first) ---- */

    /* "+++", then "ATH": hangs up and returns to the plain serial channel. */
    int32_t Q310_CALL eDisconnectGSM(char* outErr);
    /* "ATE1" (or "ATE0" for mode 0), then "AT&W". */
    int32_t Q310_CALL eSetEchoMode(uint32_t mode, char* outErr);
    /* "ATZ". */
    int32_t Q310_CALL eWriteATZtoGSM(char* outErr);
    /* "AT+CBST=" and the parameter text of `length` characters (at most 22). */
    int32_t Q310_CALL eWriteATCBSTtoGSM(const char* parameter, uint32_t length, char* outErr);
    /* "AT&D2". */
    int32_t Q310_CALL eWriteATD2toGSM(char* outErr);
    /* "ATS7=60". */
    int32_t Q310_CALL eWriteATS7toGSM(char* outErr);
    /* Dials PhoneNumber (`length` at most 12, else 0 without text) waiting up to `seconds` for CONNECT;
     * on failure the text ends with the modem's last answer. */
    int32_t Q310_CALL eWriteATDtoGSM(const char* PhoneNumber, uint32_t length, uint32_t seconds,
                                     char* outErr);
    /* Sends the GSM gateway's parameter packet: line settings, two options, time-out and lock value. */
    int32_t Q310_CALL eWriteParamGSMLock(uint32_t baudRate, uint32_t dataBits, uint32_t stopBits,
                                         uint32_t option3, uint32_t option4, uint32_t timeout, uint32_t lock,
                                         char* outErr);

    /* ---- Measurement reads ---- */

    /* Creates the protocol client for meter address adr and reads the serial number text. */
    int32_t Q310_CALL eReadSerialNumber(uint32_t adr, char* serialNumber, char* outErr);
    /* Voltage "%.1f" V, current "%.2f" A, power "%d". */
    int32_t Q310_CALL eReadVoltageCurrentPower(uint32_t adr, char* mVoltage, char* mCurrent, char* mPower,
                                               char* outErr);
    /* Network frequency "%.2f" Hz. */
    int32_t Q310_CALL eReadFrequency(uint32_t adr, char* frequency, char* outErr);
    /* Reactive power "%d"; a wrong answer returns 0x8A050000 without text. */
    int32_t Q310_CALL eReadCurrentPower_Q316(uint32_t adr, char* mPower, char* outErr);
    /* Power factor as ten digits "%02d%02d%02d%02d%02d". */
    int32_t Q310_CALL eReadCOS_Q316(uint32_t adr, char* mCOS, char* outErr);
    /* Active energy since reset by tariffs 1 to 4 (meter units / 10). */
    int32_t Q310_CALL eReadStorageBattery(uint32_t adr, uint32_t* enRate1, uint32_t* enRate2,
                                          uint32_t* enRate3, uint32_t* enRate4, char* outErr);
    /* Reactive energy since reset by tariffs 1 to 4. */
    int32_t Q310_CALL eReadStorageBattery_Q316(uint32_t adr, uint32_t* enRate1, uint32_t* enRate2,
                                               uint32_t* enRate3, uint32_t* enRate4, char* outErr);
    /* Active energy of one month by tariffs. */
    int32_t Q310_CALL eReadMonthEnergy(uint32_t adr, uint32_t month, uint32_t* enRate1, uint32_t* enRate2,
                                       uint32_t* enRate3, uint32_t* enRate4, char* outErr);
    /* Reactive energy of one month by tariffs. */
    int32_t Q310_CALL eReadMonthEnergy_Q316(uint32_t adr, uint32_t month, uint32_t* enRate1,
                                            uint32_t* enRate2, uint32_t* enRate3, uint32_t* enRate4,
                                            char* outErr);
    /* Two voltage maxima: "hh:mm:ss dd.mm.yy" and " %3d.%d"; always returns 1, never writes outErr. */
    int32_t Q310_CALL eReadMaxVoltage(uint32_t adr, char* maxVoltageDate, char* maxVoltage,
                                      char* maxrVoltageDate, char* maxrVoltage, char* outErr);
    /* Two current maxima, as eReadMaxVoltage in hundredths. */
    int32_t Q310_CALL eReadMaxCurrent(uint32_t adr, char* maxCurrentDate, char* maxCurrent,
                                      char* maxrCurrentDate, char* maxrCurrent, char* outErr);
    /* Two power maxima, as eReadMaxVoltage in hundredths. */
    int32_t Q310_CALL eReadMaxPower(uint32_t adr, char* maxPowerDate, char* maxPower, char* maxrPowerDate,
                                    char* maxrPower, char* outErr);
    /* Resets the maxima of `kind`; `mode` is ignored. */
    int32_t Q310_CALL eResertMaxParam(uint32_t adr, uint32_t mode, uint32_t kind, char* outErr);
    /* Firmware version "%d.%d" and its date "YYYYMMDD". */
    int32_t Q310_CALL eReadSoftVersion(uint32_t adr, char* softVersion, char* svDate, char* outErr);
    /* Firmware identifier "%d.%d" (high byte, low byte of its CRC). */
    int32_t Q310_CALL eReadIdentPo(uint32_t adr, char* IdentPo, char* outErr);
    /* Manufacturing date "dd.mm.yy". */
    int32_t Q310_CALL eReadOutputDate(uint32_t adr, char* outputDate, char* outErr);
    /* Running times of meter and battery, "%d" each. */
    int32_t Q310_CALL eReadRunningTime(uint32_t adr, char* Time, char* batTime, char* outErr);
    /* Battery voltage "%d.%d". */
    int32_t Q310_CALL eReadVoltageLiBattery(uint32_t adr, char* libatBattery, char* outErr);
    /* Meter type and variant bytes. */
    int32_t Q310_CALL eReadTypeState(uint32_t adr, uint32_t* typeMode1, uint32_t* typeMode2, char* outErr);
    /* Power and relay flags (0/1); a wrong answer returns 0x8A050000 without text. */
    int32_t Q310_CALL eReadVariantExecution(uint32_t adr, uint32_t* powerFlag, uint32_t* relayFlag,
                                            char* outErr);
    /* PLC-I configuration: eight request bytes, eight answer bytes. */
    int32_t Q310_CALL eReadPLC1Config(uint32_t adr, uint32_t b1, uint32_t b2, uint32_t b3, uint32_t b4,
                                      uint32_t b5, uint32_t b6, uint32_t b7, uint32_t b8, uint32_t* cdd1,
                                      uint32_t* cdd2, uint32_t* cdd3, uint32_t* cdd4, uint32_t* cdd5,
                                      uint32_t* cdd6, uint32_t* cdd7, uint32_t* cdd8, char* outErr);
    /* Meter clock: "hh:mm:ss", "dd.mm.yy" and the weekday name (buffer of 32 bytes). */
    int32_t Q310_CALL eReadCurrentTime(uint32_t adr, char* testTime, char* testDate, char* weekDay,
                                       char* outErr);
    /* Last event 43 power off, 44 power on, 97 cover open, 98 cover close: "hh:mm:ss", "dd.mm.20yy";
     * any other event returns 1 and writes nothing. */
    int32_t Q310_CALL eReadTimeOnOff(uint32_t adr, uint32_t event, char* timeMass, char* dateMass,
                                     char* outErr);

    /* ---- Settings reads and writes ---- */

    /* Display: five tariff switches as characters of rateParams (6 bytes), power, time, date switches. */
    int32_t Q310_CALL eReadParamDisplay(uint32_t adr, char* rateParams, uint32_t* powerParams,
                                        uint32_t* timeParams, uint32_t* dateParams, char* outErr);
    int32_t Q310_CALL eWriteParamDisplay(uint32_t adr, const char* rateParams, uint32_t power, uint32_t time,
                                         uint32_t date, char* outErr);
    /* Additional display mode: seven flags, the delay and the battery indication flag. */
    int32_t Q310_CALL eReadAddParamDisplay(uint32_t adr, uint32_t* rateFlag1, uint32_t* UIFreqFlag1,
                                           uint32_t* maxdumpFlag1, uint32_t* cRunningFlag1,
                                           uint32_t* batRunningFlag1, uint32_t* pLimitFlag1,
                                           uint32_t* enLimitFlag1, uint32_t* delayTime1, uint32_t* indBat,
                                           char* outErr);
    int32_t Q310_CALL eWriteAddParamDisplay(uint32_t adr, uint32_t rateFlag1, uint32_t UIFreqFlag1,
                                            uint32_t maxdumpFlag1, uint32_t cRunningFlag1,
                                            uint32_t batRunningFlag1, uint32_t pLimitFlag1,
                                            uint32_t enLimitFlag1, uint32_t delayTime1, uint32_t indBat,
                                            char* outErr);
    /* Display delays, four bytes. */
    int32_t Q310_CALL eReadIndicationTime(uint32_t adr, uint32_t* indTime11, uint32_t* indTime21,
                                          uint32_t* indTime31, uint32_t* indTime41, char* outErr);
    int32_t Q310_CALL eWriteIndicationTime(uint32_t adr, uint32_t indTime1, uint32_t indTime2,
                                           uint32_t indTime3, uint32_t indTime4, char* outErr);
    /* Clock correction byte. */
    int32_t Q310_CALL eReadCorrectionTime(uint32_t adr, uint32_t* cCorrectTime, char* outErr);
    int32_t Q310_CALL eWriteCorrectionTime(uint32_t adr, uint32_t correctTime, char* outErr);
    /* Summer-time switching flag. */
    int32_t Q310_CALL eReadSeasonFlag(uint32_t adr, uint32_t* seasonFlag, char* outErr);
    int32_t Q310_CALL eWriteSeasonFlag(uint32_t adr, uint32_t seasonFlag, char* outErr);
    /* Sets the meter clock to the computer's. */
    int32_t Q310_CALL eSynchronizaionTime(uint32_t adr, char* outErr);
    /* Power limit. */
    int32_t Q310_CALL eReadPowerLimit(uint32_t adr, uint32_t* powerLimit, char* outErr);
    int32_t Q310_CALL eWritePowerLimit(uint32_t adr, uint32_t powerLimit, char* outErr);
    /* Power limit mode, four bytes. */
    int32_t Q310_CALL eReadPowerLimitMode(uint32_t adr, uint32_t* compareByte1, uint32_t* cycleTime1,
                                          uint32_t* cycleFlag1, uint32_t* resFlag1, char* outErr);
    int32_t Q310_CALL eWritePowerLimitMode(uint32_t adr, uint32_t compareByte, uint32_t cycleTime,
                                           uint32_t cycleFlag, uint32_t resFlag, char* outErr);
    /* Monthly energy limit (16 bits). */
    int32_t Q310_CALL eReadEnergyLimit(uint32_t adr, uint32_t* EnergyLimit, char* outErr);
    int32_t Q310_CALL eWriteEnergyLimit(uint32_t adr, uint32_t EnergyLimit, char* outErr);
    /* Tariff energy limits and their on/off flags as text; `arr` is checked for null and otherwise ignored.
     */
    int32_t Q310_CALL eReadEnergyRateLimit(uint32_t adr, char* enRateLimitMass, char* enLimitFlagMass,
                                           uint32_t* arr, char* outErr);
    /* The four limits are decimal texts ("%u"), the flags four digits ("1021": 1 is on); an empty text is
     * refused with the message. */
    int32_t Q310_CALL eWriteEnergyRateLimit(uint32_t adr, const char* enRateLimit1, const char* enRateLimit2,
                                            const char* enRateLimit3, const char* enRateLimit4,
                                            const char* enLimitFlag, char* outErr);
    /* Load relay mode. */
    int32_t Q310_CALL eReadReleMode(uint32_t adr, uint32_t* releMode, char* outErr);
    int32_t Q310_CALL eReadReleMode_2a(uint32_t adr, uint32_t* releMode, char* outErr);
    int32_t Q310_CALL eWriteReleMode(uint32_t adr, int32_t releMode, char* outErr);
    /* Dry output mode. */
    int32_t Q310_CALL eReadOutputFunction(uint32_t adr, uint32_t* flag1, char* outErr);
    int32_t Q310_CALL eWriteOutputFunction(uint32_t adr, uint32_t flag1, char* outErr);
    /* Baud rate code of the meter's line. */
    int32_t Q310_CALL eWriteSpeed(uint32_t adr, uint32_t speedCode, char* outErr);
    /* New address (group nonzero: group address). */
    int32_t Q310_CALL eWriteAddress(uint32_t adr, uint32_t group, uint32_t newAddress, char* outErr);
    /* Time-out multiplier: one byte written into the host's 8-bit cell (not checked for null). */
    int32_t Q310_CALL eReadMultMode(uint32_t adr, uint8_t* multMode, char* outErr);
    int32_t Q310_CALL eWriteMultMode(uint32_t adr, uint32_t multMode, char* outErr);
    /* Resets the battery flag and the battery running time. */
    int32_t Q310_CALL eResetDeviceBat(uint32_t adr, char* outErr);

    /* ---- Tariff zones and holiday scales ---- */

    /* Number of tariffs. */
    int32_t Q310_CALL eReadRateQuantity(uint32_t adr, uint32_t* rateQuantity1, char* outErr);
    int32_t Q310_CALL eWriteRateQuantity(uint32_t adr, uint32_t rateQuantity, char* outErr);
    /* Tariff schedule as text, 8 zones a day; the read appends to the host buffer (at least 9053 bytes). */
    int32_t Q310_CALL eReadRateScale_1(uint32_t adr, char* TariffsTable, char* outErr);
    int32_t Q310_CALL eWriteRateScale_1(uint32_t adr, const char* TariffsTable, char* outErr);
    /* Tariff schedule as text, 16 zones a day; the read appends to the host buffer (at least 16733 bytes). */
    int32_t Q310_CALL eReadRateScale_4(uint32_t adr, char* TariffsTable, char* outErr);
    int32_t Q310_CALL eWriteRateScale_4(uint32_t adr, const char* TariffsTable, char* outErr);
    /* Kept for hosts that pass a file name: no exchange, success. */
    int32_t Q310_CALL eReadRateScale(uint32_t adr, const char* fName, char* outErr);
    int32_t Q310_CALL eReadRateScale_2(uint32_t adr, const char* fName, char* outErr);
    int32_t Q310_CALL eWriteRateScale(uint32_t adr, const char* fName, char* outErr);
    int32_t Q310_CALL eWriteRateScale_2(uint32_t adr, const char* fName, char* outErr);
    int32_t Q310_CALL eReadWeekendScale(uint32_t adr, const char* fName, char* outErr);
    /* Writes both holiday halves (file name form). */
    int32_t Q310_CALL eWriteWeekendScale(uint32_t adr, const char* fName, char* outErr);
    /* Holidays as text "%d <month, genitive>\n" per line; the read appends to the host buffer. */
    int32_t Q310_CALL eReadWeekendScale2(uint32_t adr, char* holiday, char* outErr);
    int32_t Q310_CALL eWriteWeekendScale2(uint32_t adr, const char* holiday, char* outErr);
    /* Fast tariff schedule write: 35 payload bytes in argument order. */
    int32_t Q310_CALL eWriteTSFast(uint32_t adr, uint32_t b1, uint32_t b2, uint32_t b3, uint32_t b4,
                                   uint32_t b5, uint32_t b6, uint32_t b7, uint32_t b8, uint32_t b9,
                                   uint32_t b10, uint32_t b11, uint32_t b12, uint32_t b13, uint32_t b14,
                                   uint32_t b15, uint32_t b16, uint32_t b17, uint32_t b18, uint32_t b19,
                                   uint32_t b20, uint32_t b21, uint32_t b22, uint32_t b23, uint32_t b24,
                                   uint32_t b25, uint32_t b26, uint32_t b27, uint32_t b28, uint32_t b29,
                                   uint32_t b30, uint32_t b31, uint32_t b32, uint32_t b33, uint32_t b34,
                                   uint32_t b35, char* outErr);
    /* Tariff profile mode and buffer count; no outErr. */
    int32_t Q310_CALL eReadModeTariffProfile(uint32_t adr, uint32_t* ModeTariffProfile, uint32_t* CntBuf);
    int32_t Q310_CALL eWriteModeTariffProfile(uint32_t adr, uint32_t mode, char* outErr);

    /* ---- Journals, power profiles and the raw exchange ----
     * Texts are written from the start of the host's buffer (not appended); lines end in "\n". */

    /* Entries first..first+count-1 (index 0 is the newest) of journal 1 to 5, one line per valid entry,
     * "hh:mm:ss dd.mm.yyyy <event>\n" (event texts in docs/api.md); empty entries give no line. Journal 4
     * reads the quality parameters 0..7 in turn for each index. Journal 3 lines are
     * "00:00:00 dd.mm.yyyy DAY FLAGS ff ff ff ff ff\n". Indexes 0..63 (journal 4: 0..200); a journal
     * outside 1..5 or an index out of range gives the message and 0. Room: 40 bytes a line. */
    int32_t Q310_CALL eReadJournal(uint32_t adr, uint32_t journal, uint32_t first, uint32_t count, char* text,
                                   char* outErr);
    /* Power-quality journal (journal 4) entries first..first+count-1 of quality parameter 0..7, in the
     * layout of eReadJournal ("QUALITY p OUT OF LIMITS" / "QUALITY p BACK IN LIMITS"). */
    int32_t Q310_CALL eReadPKE_2(uint32_t adr, uint32_t parameter, uint32_t first, uint32_t count, char* text,
                                 char* outErr);
    /* The 48 half-hour powers of one day (year 2000..2099 or 0..99) as text, one line per half hour,
     * "hh:mm <power>\n" from "00:00" to "23:30", "hh:mm -\n" for a slot without valid data (at most
     * 48 * 17 + 1 bytes). */
    int32_t Q310_CALL eReadSecPowerProfile(uint32_t adr, uint32_t day, uint32_t month, uint32_t year,
                                           char* text, char* outErr);
    /* One four-hour block (0..5) of the day as text: its eight lines in the layout above. */
    int32_t Q310_CALL eReadSecPowerProfile_21(uint32_t adr, uint32_t day, uint32_t month, uint32_t year,
                                              uint32_t block, char* text, char* outErr);
    /* The 48 half-hour powers of the day as numbers into values[48]; 0xFFFFFFFF for a slot without valid
     * data. */
    int32_t Q310_CALL eReadSecPowerProfile_22(uint32_t adr, uint32_t day, uint32_t month, uint32_t year,
                                              uint32_t* values, char* outErr);
    /* One block (0..5) as numbers into values[8], as eReadSecPowerProfile_22. */
    int32_t Q310_CALL eReadSecPowerProfile_23(uint32_t adr, uint32_t day, uint32_t month, uint32_t year,
                                              uint32_t block, uint32_t* values, char* outErr);
    /* Raw exchange through the session channel (after eOpen or eTcpOpen; no eReadSerialNumber needed):
     * writes the requestLength bytes unchanged (a whole frame), then reads the answer into answer.
     * *answerLength holds the buffer size on entry and the received length on return. The answer ends
     * when a read brings nothing after its first bytes, when the buffer is full, or after 1000 ms. No
     * answer at all: the message and 0. */
    int32_t Q310_CALL eWriteData(uint32_t adr, const uint8_t* request, uint32_t requestLength,
                                 uint8_t* answer, uint32_t* answerLength, char* outErr);

#ifdef __cplusplus
}
#endif

#endif /* Q310_H */
