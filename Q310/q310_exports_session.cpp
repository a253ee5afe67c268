// Session and connection: eOpen, eTcpOpen, eClose and the three path flag setters.
#define KEL_TRACE_FILE "Q310"
#include "Q310/q310_channels.h"
#include "Q310/q310_export_support.h"
#include "Q310/q310_export_texts.h"
#include "Q310/q310_exports_session.h"
#include "Q310/q310_session.h"
#include "shared/platform/kel_p_trace.h"

#include <cctype>
#include <cstdio>
#include <cstring>

namespace
{
static_assert(kOpenText.length == 53 && kTcpOpenText.length == 41);

// The session these exports open, close and switch.
Q310_Session& session = q310Session;
} // namespace

Kel_StatusCode Q310_StartTracing()
{
    Kel_StatusCode status = Kel_Trace_Initialize(KEL_TRACE_LEVEL_FLOW);
    if (Kel_IsBad(status))
        return status;
    status = Kel_P_Trace_Console_Enable();
    if (Kel_IsBad(status))
        return status;
    status = Kel_P_Trace_File_Enable(KEL_P_TRACE_FILE);
    if (Kel_IsBad(status))
        return status;
    return Kel_P_Trace_File_Errors_Enable(KEL_P_TRACE_ERRORS_FILE);
}

bool Q310_ParseMode(const char* pMode, Q310_Mode* pParsed)
{
    int baudRate = static_cast<int>(pParsed->baudRate);
    int dataBits = pParsed->dataBits;
    int stopBits = pParsed->stopBits;
    // Each word is held in 16 characters: a longer one is cut at 15, and the text behind its cut no
    // longer matches the rest of the format, so the later fields keep their earlier values.
    const int fields = sscanf(pMode, "baud=%d parity=%15s data=%d stop=%d dtr=%15s rts=%15s", &baudRate,
                              pParsed->parity, &dataBits, &stopBits, pParsed->dtr, pParsed->rts);
    // Nothing could be read from an empty text or one of white space only. The C libraries differ for
    // the latter (EOF or 0 fields), so it is tested here, the same on every platform.
    bool blank = true;
    for (const char* p = pMode; *p != '\0' && blank; ++p)
        blank = isspace(static_cast<unsigned char>(*p)) != 0;
    if (fields == EOF || blank)
        return false;
    pParsed->baudRate = static_cast<uint32_t>(baudRate);
    pParsed->dataBits = static_cast<uint8_t>(dataBits);
    pParsed->stopBits = static_cast<uint8_t>(stopBits);
    return true;
}

void Q310_ApplyMode(const Q310_Mode& aMode, Kel_P_Serial_DCB* pDcb)
{
    pDcb->BaudRate = aMode.baudRate;
    pDcb->ByteSize = aMode.dataBits;
    if (aMode.stopBits == 2)
        pDcb->StopBits = KEL_SERIAL_TWOSTOPBITS;
    else if (aMode.stopBits == 3)
        pDcb->StopBits = KEL_SERIAL_ONE5STOPBITS;
    else
        pDcb->StopBits = KEL_SERIAL_ONESTOPBIT;
    static const struct
    {
        const char* word;
        uint8_t parity;
    } kParities[] = {{"None", KEL_SERIAL_NOPARITY},
                     {"Odd", KEL_SERIAL_ODDPARITY},
                     {"Even", KEL_SERIAL_EVENPARITY},
                     {"Mask", KEL_SERIAL_MARKPARITY},
                     {"Space", KEL_SERIAL_SPACEPARITY}};
    for (const auto& entry : kParities)
    {
        if (strcmp(aMode.parity, entry.word) == 0)
        {
            pDcb->fParity = entry.parity != KEL_SERIAL_NOPARITY ? 1 : 0;
            pDcb->Parity = entry.parity;
            break;
        }
    }
    // The dtr and rts words are accepted and not used: both lines are driven by eOpen itself.
    pDcb->fOutX = 0;
    pDcb->fInX = 0;
    pDcb->fDtrControl = KEL_SERIAL_DTR_CONTROL_DISABLE;
    pDcb->fRtsControl = KEL_SERIAL_RTS_CONTROL_DISABLE;
    pDcb->XonChar = 0;
    pDcb->XoffChar = 0;
    pDcb->XonLim = 0;
    pDcb->XoffLim = 0;
}

extern "C" int32_t Q310_CALL eOpen(int32_t portNumber, const char* mode, const uint32_t* pCommTimeOuts,
                                   char* outErr)
{
    Q310_EXPORT_ENTER(eOpen);
    Q310_REJECT_NULL(mode);
    Q310_REJECT_NULL(pCommTimeOuts);
    Q310_REJECT_NULL(outErr);

    Kel_StatusCode status = Q310_StartTracing();
    if (Kel_IsBad(status))
        return Q310_FailWith(kelScope, __LINE__, status, outErr, kOpenText);
    snprintf(session.commPortName, sizeof(session.commPortName), "COM%d", portNumber);
    session.commTimeOuts.ReadIntervalTimeout = pCommTimeOuts[0];
    session.commTimeOuts.ReadTotalTimeoutMultiplier = pCommTimeOuts[1];
    session.commTimeOuts.ReadTotalTimeoutConstant = pCommTimeOuts[2];
    session.commTimeOuts.WriteTotalTimeoutMultiplier = pCommTimeOuts[3];
    session.commTimeOuts.WriteTotalTimeoutConstant = pCommTimeOuts[4];

    Q310_Mode parsed{};
    parsed.baudRate = session.dcb.BaudRate;
    parsed.dataBits = session.dcb.ByteSize;
    parsed.stopBits = session.dcb.StopBits;
    if (!Q310_ParseMode(mode, &parsed))
        return Q310_FailWith(kelScope, __LINE__, Kel_BadInvalidArgument, outErr, kOpenText);
    session.dcb.BaudRate = parsed.baudRate;
    session.dcb.ByteSize = parsed.dataBits;
    session.dcb.StopBits = parsed.stopBits;

    // A second eOpen without eClose creates the context over the old one and leaves the old port open.
    status = Kel_P_Serial_CreateContext(&session.serialContext);
    if (Kel_IsBad(status))
        return Q310_FailWith(kelScope, __LINE__, status, outErr, kOpenText);
    session.serialPortCreated = true;
    KEL_TRACE(KEL_TRACE_LEVEL_FLOW, "Open '%s'\n", session.commPortName);
    status = Kel_P_Serial_Open(session.commPortName, 1, &session.serialContext);
    if (Kel_IsBad(status))
        return Q310_FailWith(kelScope, __LINE__, status, outErr, kOpenText);
    if (Kel_P_Serial_SetCommTimeouts(session.serialContext.port_fd, &session.commTimeOuts) == 0)
        return Q310_FailExpr(kelScope, __LINE__,
                             "SetCommTimeouts(aSerialContextMeter.port_fd, &glCommTimeOuts)==0", outErr,
                             kOpenText);
    if (Kel_P_Serial_GetCommState(session.serialContext.port_fd, &session.serialContext.dcb) == 0)
        return Q310_FailExpr(kelScope, __LINE__,
                             "(GetCommState(aSerialContextMeter.port_fd,&aSerialContextMeter.dcb)==0)",
                             outErr, kOpenText);
    Q310_ApplyMode(parsed, &session.serialContext.dcb);
    Kel_P_Serial_SetCommState(session.serialContext.port_fd, &session.serialContext.dcb);
    status = Kel_P_Stopwatch_Restart(&session.stopwatch);
    if (Kel_IsBad(status))
        return Q310_FailWith(kelScope, __LINE__, status, outErr, kOpenText);
    status = Kel_SerialChannel_CreateContext(&session.serialContext, &session.channel);
    if (Kel_IsBad(status))
        return Q310_FailWith(kelScope, __LINE__, status, outErr, kOpenText);
    Kel_P_Serial_Set_Signal(&session.serialContext, KEL_SERIAL_SIGNAL_DTR);
    status = Kel_P_Serial_Set_Signal(&session.serialContext, KEL_SERIAL_SIGNAL_RTS);
    if (Kel_IsBad(status))
        return Q310_FailWith(kelScope, __LINE__, status, outErr, kOpenText);
    return 1;
}

extern "C" int32_t Q310_CALL eTcpOpen(int32_t tcpPort, const char* ipAddress, uint32_t reserved,
                                      uint32_t readTimeout, char* outErr)
{
    (void)reserved;
    Q310_EXPORT_ENTER(eTcpOpen);
    Q310_REJECT_NULL(ipAddress);
    Q310_REJECT_NULL(outErr);
    // Kept even when a later step fails.
    session.commTimeOuts.ReadTotalTimeoutConstant = readTimeout;
    Kel_StatusCode status = Q310_StartTracing();
    if (Kel_IsBad(status))
        return Q310_FailWith(kelScope, __LINE__, status, outErr, kTcpOpenText);
    status = Kel_SerialChannel_CreateContextTcpClient(&session.tcpBridge, &session.socket,
                                                      &session.commTimeOuts, &session.channel);
    if (Kel_IsBad(status))
        return Q310_FailWith(kelScope, __LINE__, status, outErr, kTcpOpenText);
    status = Kel_P_Tcp_Client_Create(&session.socket, ipAddress, static_cast<uint16_t>(tcpPort), readTimeout);
    if (Kel_IsBad(status))
        return Q310_FailWith(kelScope, __LINE__, status, outErr, kTcpOpenText);
    return 1;
}

extern "C" int32_t Q310_CALL eClose(uint32_t reserved, char* outErr)
{
    (void)reserved;
    Q310_EXPORT_ENTER(eClose);
    Q310_REJECT_NULL(outErr);
    int32_t result = 1;
    Kel_StatusCode status = Kel_P_Tcp_Close(&session.socket);
    if (Kel_IsBad(status))
    {
        Kel_Trace_GotoBad(kelScope, __LINE__, status);
        result = 0;
    }
    if (session.serialPortCreated)
    {
        status = Kel_P_Serial_Close(&session.serialContext);
        if (Kel_IsBad(status))
        {
            Kel_Trace_GotoBad(kelScope, __LINE__, status);
            result = 0;
        }
        else
            session.serialPortCreated = false;
    }
    Kel_Trace_Finalize();
    return result;
}

extern "C" int32_t Q310_CALL eSetEchoFlag(uint32_t flag)
{
    Q310_EXPORT_ENTER(eSetEchoFlag);
    session.echoFlag = flag;
    if (flag != 0)
    {
        const Kel_StatusCode status = Kel_SerialChannel_CreateContext_EchoRS485(
            &session.echoRS485, &session.serialContext, &session.channel);
        if (Kel_IsBad(status))
            Kel_Trace_GotoBad(kelScope, __LINE__, status);
    }
    return 0;
}

extern "C" int32_t Q310_CALL eSetGSMFlag(uint32_t mode)
{
    Q310_EXPORT_ENTER(eSetGSMFlag);
    session.gsmFlag = mode;
    Kel_StatusCode status = Kel_Good;
    if (mode == Q310_GSM_DATA_CALL)
        status = Kel_SerialChannel_CreateContext_EchoGSM(&session.echoGSM, &session.serialContext,
                                                         &session.channel);
    else if (mode == Q310_GSM_GATEWAY)
        status = Kel_SerialChannel_CreateContext_GatewayGSM(&session.gatewayGSM, &session.serialContext,
                                                            &session.channel);
    if (Kel_IsBad(status))
    {
        Kel_Trace_GotoBad(kelScope, __LINE__, status);
        return 0;
    }
    return 1;
}

extern "C" int32_t Q310_CALL eSetTcpFlag(uint32_t tcpFlag, uint32_t tcpEchoFlag)
{
    Q310_EXPORT_ENTER(eSetTcpFlag);
    session.tcpFlag = tcpFlag;
    session.tcpBridge.echo = tcpEchoFlag;
    if (tcpFlag == 0)
    {
        const Kel_StatusCode status = Kel_P_Tcp_Close(&session.socket);
        if (Kel_IsBad(status))
            Kel_Trace_GotoBad(kelScope, __LINE__, status);
    }
    // Tracing stops here on purpose: nothing more is traced until the next eOpen or eTcpOpen.
    return static_cast<int32_t>(Kel_Trace_Finalize());
}
