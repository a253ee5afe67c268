// GSM modem commands: the AT dialogue before and after a data call to a meter, and the GSM gateway's
// parameter packet. They write through the session channel and read into the protocol client's input
// buffer with the client's write and per-read time-outs (eReadSerialNumber creates the client first).
#define KEL_TRACE_FILE "Q310"
#include "Q310/q310_channels.h"
#include "Q310/q310_export_support.h"
#include "Q310/q310_export_texts.h"
#include "Q310/q310_exports_session.h"
#include "Q310/q310_session.h"

#include <cstring>

namespace
{
constexpr uint32_t kAnswerSize = KEL_ZENTOR1PHASE_IN_BUFFER_SIZE;

// The session whose channel these commands use.
Q310_Session& session = q310Session;

uint8_t* Answer()
{
    return session.clientContext.ApplicationContext.inBuffer;
}
uint32_t WriteTimeout()
{
    return session.clientContext.ApplicationContext.transport.writeTimeout;
}
uint32_t ReadTimeout()
{
    return session.clientContext.ApplicationContext.transport.readTimeout;
}

Kel_StatusCode Clear()
{
    return Kel_SerialChannel_ClearBuffer(&session.channel, 1);
}
Kel_StatusCode Write(const void* pData, uint32_t aSize)
{
    uint32_t written = 0;
    return Kel_SerialChannel_Write(&session.channel, static_cast<const uint8_t*>(pData), aSize,
                                   WriteTimeout(), &written);
}
// One read into the client's input buffer; the count is also kept as the buffer's answer length.
Kel_StatusCode ReadOnce(uint32_t* pReceived)
{
    *pReceived = 0;
    const Kel_StatusCode status =
        Kel_SerialChannel_Read(&session.channel, Answer(), kAnswerSize, ReadTimeout(), pReceived);
    session.clientContext.ApplicationContext.inBufferIndex = *pReceived;
    return status;
}

bool Contains(const uint8_t* pData, uint32_t aSize, const char* pText)
{
    const size_t length = strlen(pText);
    for (uint32_t at = 0; at + length <= aSize; ++at)
        if (memcmp(pData + at, pText, length) == 0)
            return true;
    return false;
}

// Reads until the received bytes hold pEcho, a read fails, or aMilliseconds have passed.
Kel_StatusCode AwaitEcho(const char* pEcho, uint32_t aMilliseconds)
{
    Kel_P_Stopwatch_Context stopwatch{};
    Kel_P_Stopwatch_Restart(&stopwatch);
    // Only the tail that can still hold the echo is kept once the buffer is full.
    const uint32_t keep = static_cast<uint32_t>(strlen(pEcho));
    uint8_t seen[kAnswerSize];
    uint32_t seenSize = 0;
    for (;;)
    {
        uint32_t received = 0;
        const Kel_StatusCode status = ReadOnce(&received);
        if (Kel_IsBad(status))
            return status;
        for (uint32_t at = 0; at < received; ++at)
        {
            if (seenSize == sizeof(seen))
            {
                memmove(seen, seen + seenSize - keep, keep);
                seenSize = keep;
            }
            seen[seenSize++] = Answer()[at];
        }
        if (Contains(seen, seenSize, pEcho))
            return Kel_Good;
        uint64_t elapsed = 0;
        Kel_P_Stopwatch_GetMSecElapsed(&stopwatch, &elapsed);
        if (elapsed >= aMilliseconds)
            return Kel_Good;
    }
}

// Clear, write the command, read once, and look for "OK" anywhere in what came back (an echo of the
// command included).
Kel_StatusCode ExchangeExpectOk(const char* pCommand, uint32_t aSize)
{
    Kel_StatusCode status = Clear();
    if (Kel_IsBad(status))
        return status;
    status = Write(pCommand, aSize);
    if (Kel_IsBad(status))
        return status;
    uint32_t received = 0;
    status = ReadOnce(&received);
    if (Kel_IsBad(status))
        return status;
    return Contains(Answer(), received, "OK") ? Kel_Good : Kel_Bad;
}

template <size_t N>
int32_t FixedCommand(const Kel_TraceScope& aScope, const char* pCommand, char* outErr,
                     const Kel_Cp1251Text<N>& aText)
{
    const Kel_StatusCode status = ExchangeExpectOk(pCommand, static_cast<uint32_t>(strlen(pCommand)));
    if (Kel_IsBad(status))
        return Q310_FailWith(aScope, __LINE__, status, outErr, aText);
    return 1;
}

// Baud code of the gateway's line in bits 0 to 3 of the second data byte.
uint8_t GatewayBaudCode(uint32_t aBaudRate)
{
    switch (aBaudRate)
    {
        case 300:
            return 1;
        case 600:
            return 2;
        case 1200:
            return 3;
        case 2400:
            return 4;
        case 4800:
            return 5;
        case 14400:
            return 7;
        case 19200:
            return 8;
        case 28800:
            return 9;
        case 38400:
            return 10;
        case 57600:
            return 11;
        case 115200:
            return 12;
        default:
            return 6; // 9600 and any other rate
    }
}
} // namespace

// The gateway's time-out code: the value itself below 16, else tens, hundreds or thousands with the
// unit in bits 4 and 5; 16000 or more gives 1.
uint8_t Q310_GatewayTimeoutCode(uint32_t aValue)
{
    if (aValue < 16)
        return static_cast<uint8_t>(aValue);
    if (aValue < 160)
        return static_cast<uint8_t>((aValue / 10) | 0x10);
    if (aValue < 1600)
        return static_cast<uint8_t>((aValue / 100) | 0x20);
    if (aValue < 16000)
        return static_cast<uint8_t>((aValue / 1000) | 0x30);
    return 1;
}

void Q310_GatewayParameters(uint32_t aBaudRate, uint32_t aDataBits, uint32_t aStopBits, uint32_t aOption3,
                            uint32_t aOption4, uint32_t aTimeout, uint32_t aLock, uint8_t* pData)
{
    pData[0] = 1;
    pData[1] = static_cast<uint8_t>(GatewayBaudCode(aBaudRate) | (aDataBits == 8 ? 0x10 : 0) |
                                    (aStopBits == 2 ? 0x20 : 0) | (aOption3 == 1 ? 0x40 : 0) |
                                    (aOption4 == 1 ? 0x80 : 0));
    pData[2] = Q310_GatewayTimeoutCode(aTimeout);
    pData[3] = static_cast<uint8_t>(aLock);
}

extern "C" int32_t Q310_CALL eDisconnectGSM(char* outErr)
{
    Q310_EXPORT_ENTER(eDisconnectGSM);
    Q310_REJECT_NULL(outErr);
    // Back to the plain serial channel, whatever GSM variant was in use.
    Kel_StatusCode status = Kel_SerialChannel_CreateContext(&session.serialContext, &session.channel);
    if (Kel_IsBad(status))
        return Q310_FailWith(kelScope, __LINE__, status, outErr, kDisconnectText);
    status = Clear();
    if (Kel_IsBad(status))
        return Q310_FailWith(kelScope, __LINE__, status, outErr, kDisconnectText);
    status = Write("+++", 3);
    if (Kel_IsBad(status))
        return Q310_FailWith(kelScope, __LINE__, status, outErr, kDisconnectText);
    // The modem's echo of the escape: read on until it has come whole (it may come in pieces, or not
    // at all from a modem that has already left data mode), for at most the client's answer time.
    if (session.echoMode != 0)
    {
        status = AwaitEcho("+++", session.clientContext.ApplicationContext.transport.answerTimeout);
        if (Kel_IsBad(status))
            return Q310_FailWith(kelScope, __LINE__, status, outErr, kDisconnectText);
    }
    return FixedCommand(kelScope, "ATH\r", outErr, kDisconnectText);
}

extern "C" int32_t Q310_CALL eSetEchoMode(uint32_t mode, char* outErr)
{
    Q310_EXPORT_ENTER(eSetEchoMode);
    Q310_REJECT_NULL(outErr);
    session.echoMode = mode;
    if (FixedCommand(kelScope, mode != 0 ? "ATE1\r" : "ATE0\r", outErr, kEchoText) != 1)
        return 0;
    return FixedCommand(kelScope, "AT&W\r", outErr, kEchoText);
}

extern "C" int32_t Q310_CALL eWriteATZtoGSM(char* outErr)
{
    Q310_EXPORT_ENTER(eWriteATZtoGSM);
    Q310_REJECT_NULL(outErr);
    return FixedCommand(kelScope, "ATZ\r", outErr, kAtzText);
}

extern "C" int32_t Q310_CALL eWriteATCBSTtoGSM(const char* parameter, uint32_t length, char* outErr)
{
    Q310_EXPORT_ENTER(eWriteATCBSTtoGSM);
    Q310_REJECT_NULL(parameter);
    Q310_REJECT_NULL(outErr);
    if (length > 22)
        return 0;
    char command[32] = "AT+CBST=";
    memcpy(command + 8, parameter, length);
    command[8 + length] = '\r';
    const Kel_StatusCode status = ExchangeExpectOk(command, length + 9);
    if (Kel_IsBad(status))
        return Q310_FailWith(kelScope, __LINE__, status, outErr, kCbstText);
    return 1;
}

extern "C" int32_t Q310_CALL eWriteATD2toGSM(char* outErr)
{
    Q310_EXPORT_ENTER(eWriteATD2toGSM);
    Q310_REJECT_NULL(outErr);
    return FixedCommand(kelScope, "AT&D2\r", outErr, kAtd2Text);
}

extern "C" int32_t Q310_CALL eWriteATS7toGSM(char* outErr)
{
    Q310_EXPORT_ENTER(eWriteATS7toGSM);
    Q310_REJECT_NULL(outErr);
    return FixedCommand(kelScope, "ATS7=60\r", outErr, kAts7Text);
}

namespace
{
// The dial failure text with the modem's last answer behind it (at most one read of it, 128 bytes,
// so that the text fits the 168 bytes the host gives).
int32_t DialFailed(const Kel_TraceScope& aScope, int32_t aLine, Kel_StatusCode aStatus,
                   const uint8_t* pAnswer, uint32_t aAnswerSize, char* outErr)
{
    Q310_FailWith(aScope, aLine, aStatus, outErr, kDialText);
    memcpy(outErr + kDialText.length, pAnswer, aAnswerSize);
    outErr[kDialText.length + aAnswerSize] = '\0';
    return 0;
}

// What one whole line of the modem's answer to ATD means. Result codes are matched as whole lines, so
// that "NO DIALTONE" is not taken for progress because it holds "DIAL".
enum class DialLine
{
    Blank,
    Echo,
    Connected,
    Progress,
    Failed
};

bool LineIs(const char* pLine, size_t aLength, const char* pText)
{
    return strlen(pText) == aLength && memcmp(pLine, pText, aLength) == 0;
}

DialLine ClassifyDialLine(const char* pLine, size_t aLength, const char* pCommand, size_t aCommandLength)
{
    static const char* const kProgress[] = {"RING", "RINGING", "RINGBACK", "DIALING", "DIALLING"};
    if (aLength == 0)
        return DialLine::Blank;
    if (aLength == aCommandLength && memcmp(pLine, pCommand, aLength) == 0)
        return DialLine::Echo;
    // "CONNECT", or "CONNECT" with the rate behind a blank.
    if (LineIs(pLine, aLength, "CONNECT") || (aLength > 8 && memcmp(pLine, "CONNECT ", 8) == 0))
        return DialLine::Connected;
    for (const char* progress : kProgress)
        if (LineIs(pLine, aLength, progress))
            return DialLine::Progress;
    // NO CARRIER, NO DIALTONE, BUSY, NO ANSWER, ERROR and any other line: the call did not come up.
    return DialLine::Failed;
}

// The answer to ATD, read line by line until a result line, a failed read or the end of the dial time.
// Every read is looked at: the echo of the command and progress lines are no result, whether they come
// alone, together or in one read with the result. Returns 1 when the call is up; otherwise the failure
// text with the modem's last answer (what its last read brought behind the echo).
int32_t AwaitDialResult(const Kel_TraceScope& aScope, const char* pCommand, size_t aCommandLength,
                        uint64_t aDialMs, char* outErr)
{
    Kel_P_Stopwatch_Context stopwatch{};
    Kel_P_Stopwatch_Restart(&stopwatch);
    char line[64];
    size_t length = 0;
    bool tooLong = false;
    uint8_t lastAnswer[kAnswerSize];
    uint32_t lastAnswerSize = 0;
    for (;;)
    {
        uint32_t received = 0;
        const Kel_StatusCode status = ReadOnce(&received);
        if (Kel_IsBad(status))
            return DialFailed(aScope, __LINE__, status, lastAnswer, lastAnswerSize, outErr);
        const uint8_t* pAnswer = Answer();
        uint32_t answerStart = 0; // the first byte of this read behind the echo
        for (uint32_t at = 0; at < received; ++at)
        {
            const char c = static_cast<char>(pAnswer[at]);
            if (c != '\r' && c != '\n')
            {
                if (length < sizeof(line))
                    line[length++] = c;
                else
                    tooLong = true;
                continue;
            }
            const DialLine kind =
                tooLong ? DialLine::Failed : ClassifyDialLine(line, length, pCommand, aCommandLength);
            length = 0;
            tooLong = false;
            if (kind == DialLine::Echo)
                answerStart = at + 1;
            if (kind == DialLine::Blank || kind == DialLine::Echo || kind == DialLine::Progress)
                continue;
            if (kind == DialLine::Connected)
                return 1;
            return DialFailed(aScope, __LINE__, Kel_Bad, pAnswer + answerStart, received - answerStart,
                              outErr);
        }
        if (received > answerStart)
        {
            lastAnswerSize = received - answerStart;
            memcpy(lastAnswer, pAnswer + answerStart, lastAnswerSize);
        }
        uint64_t elapsed = 0;
        Kel_P_Stopwatch_GetMSecElapsed(&stopwatch, &elapsed);
        if (elapsed >= aDialMs)
            return DialFailed(aScope, __LINE__, Kel_BadTimeout, lastAnswer, lastAnswerSize, outErr);
    }
}
} // namespace

extern "C" int32_t Q310_CALL eWriteATDtoGSM(const char* PhoneNumber, uint32_t length, uint32_t seconds,
                                            char* outErr)
{
    Q310_EXPORT_ENTER(eWriteATDtoGSM);
    Q310_REJECT_NULL(PhoneNumber);
    Q310_REJECT_NULL(outErr);
    if (length > 12)
        return 0;
    const uint32_t savedReadTotal = session.commTimeOuts.ReadTotalTimeoutConstant;
    session.commTimeOuts.ReadTotalTimeoutConstant = seconds * 1000;
    if (Kel_P_Serial_SetCommTimeouts(session.serialContext.port_fd, &session.commTimeOuts) == 0)
        return Q310_FailExpr(kelScope, __LINE__,
                             "SetCommTimeouts(aSerialContextMeter.port_fd, &glCommTimeOuts)==0", outErr,
                             kDialText);
    char command[32] = {};
    memcpy(command, "ATD", 3);
    memcpy(command + 3, PhoneNumber, length);
    command[3 + length] = '\r';
    Kel_StatusCode status = Clear();
    if (Kel_IsBad(status))
        return DialFailed(kelScope, __LINE__, status, Answer(), 0, outErr);
    status = Write(command, length + 4);
    if (Kel_IsBad(status))
        return DialFailed(kelScope, __LINE__, status, Answer(), 0, outErr);
    // On failure the dial time-out stays in force until the next successful dial or eOpen.
    if (AwaitDialResult(kelScope, command, length + 3, static_cast<uint64_t>(seconds) * 1000, outErr) != 1)
        return 0;
    session.commTimeOuts.ReadTotalTimeoutConstant = savedReadTotal;
    if (Kel_P_Serial_SetCommTimeouts(session.serialContext.port_fd, &session.commTimeOuts) == 0)
        return Q310_FailExpr(kelScope, __LINE__,
                             "SetCommTimeouts(aSerialContextMeter.port_fd, &glCommTimeOuts)==0", outErr,
                             kDialText);
    return 1;
}

extern "C" int32_t Q310_CALL eWriteParamGSMLock(uint32_t baudRate, uint32_t dataBits, uint32_t stopBits,
                                                uint32_t option3, uint32_t option4, uint32_t timeout,
                                                uint32_t lock, char* outErr)
{
    Q310_EXPORT_ENTER(eWriteParamGSMLock);
    Q310_REJECT_NULL(outErr);
    // The gateway's raw mode: this packet goes out as built, and the next read switches to packets.
    session.gatewayGSM.port = 0;
    uint8_t data[4];
    Q310_GatewayParameters(baudRate, dataBits, stopBits, option3, option4, timeout, lock, data);
    ++session.gatewayGSM.packetNumber;
    uint8_t packet[13];
    Kel_StatusCode status =
        Kel_GatewayGSM_BuildPacket(data, sizeof(data), static_cast<uint16_t>(session.gatewayGSM.packetNumber),
                                   0, packet, sizeof(packet));
    if (Kel_IsBad(status))
        return Q310_FailWith(kelScope, __LINE__, status, outErr, kGatewayText);
    status = Clear();
    if (Kel_IsBad(status))
        return Q310_FailWith(kelScope, __LINE__, status, outErr, kGatewayText);
    status = Write(packet, sizeof(packet));
    if (Kel_IsBad(status))
        return Q310_FailWith(kelScope, __LINE__, status, outErr, kGatewayText);
    uint32_t received = 0;
    status = ReadOnce(&received);
    if (Kel_IsBad(status))
        return Q310_FailWith(kelScope, __LINE__, status, outErr, kGatewayText);
    if (received != sizeof(packet) || Answer()[8] != 0x81)
        return Q310_FailWith(kelScope, __LINE__, Kel_Bad, outErr, kGatewayText);
    return 1;
}
