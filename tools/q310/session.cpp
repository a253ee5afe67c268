#include "session.h"

#include "Q310/Q310.h"
#include "errors.h"
#include "host_os.h"
#include "sim_host.h"
#include "text_cp1251.h"

#include <cctype>
#include <cstdio>
#include <cstring>

namespace q310cli
{
namespace
{
bool AllDigits(const std::string& aText)
{
    if (aText.empty())
        return false;
    for (const char c : aText)
        if (!isdigit(static_cast<unsigned char>(c)))
            return false;
    return true;
}

// "7" or "COM7" (any case): the COM number; -1 for anything else (a device path).
int ComNumber(const std::string& aPort)
{
    if (AllDigits(aPort))
        return std::stoi(aPort);
    if (aPort.size() > 3 && (aPort[0] == 'C' || aPort[0] == 'c') && (aPort[1] == 'O' || aPort[1] == 'o') &&
        (aPort[2] == 'M' || aPort[2] == 'm') && AllDigits(aPort.substr(3)))
        return std::stoi(aPort.substr(3));
    return -1;
}

// The line settings of the mode text, for the gateway's parameter packet.
void LineSettings(const std::string& aMode, uint32_t& aBaud, uint32_t& aData, uint32_t& aStop)
{
    int baud = 9600;
    int data = 8;
    int stop = 1;
    char parity[16] = {};
    sscanf(aMode.c_str(), "baud=%d parity=%15s data=%d stop=%d", &baud, parity, &data, &stop);
    aBaud = static_cast<uint32_t>(baud);
    aData = static_cast<uint32_t>(data);
    aStop = static_cast<uint32_t>(stop);
}
} // namespace

Session::~Session()
{
    Close();
}

char* Session::Err()
{
    memset(err_, 0, sizeof(err_));
    return err_;
}

void Session::Check(int32_t aResult, const char* pExport)
{
    if (aResult == 1)
        return;
    if (err_[0] != '\0')
        throw MeterError(Cp1251ToUtf8(err_));
    char text[128];
    snprintf(text, sizeof(text), "%s failed (result 0x%08X)", pExport, static_cast<unsigned>(aResult));
    throw MeterError(text);
}

void Session::Open(const ConnectionOptions& aOptions)
{
    address_ = aOptions.address;
    std::string port = aOptions.port;
    if (aOptions.sim)
    {
        std::string error;
        port = StartSimulator(aOptions.simState, error);
        if (port.empty())
            throw UsageError(error);
        simulator_ = true;
    }

    if (!aOptions.tcp.empty())
    {
        const size_t colon = aOptions.tcp.rfind(':');
        if (colon == std::string::npos || colon == 0 || !AllDigits(aOptions.tcp.substr(colon + 1)))
            throw UsageError("--tcp wants HOST:PORT, got \"" + aOptions.tcp + "\"");
        const std::string host = aOptions.tcp.substr(0, colon);
        const int tcpPort = std::stoi(aOptions.tcp.substr(colon + 1));
        opened_ = true;
        Check(eTcpOpen(tcpPort, host.c_str(), 0, aOptions.timeouts[2], Err()), "eTcpOpen");
    }
    else
    {
        int number = ComNumber(port);
        if (number < 0)
        {
            std::string error;
            portFolder_ = os::MakePortFolder(port, error);
            if (portFolder_.empty())
                throw UsageError(error);
            number = 1;
        }
        opened_ = true;
        Check(eOpen(number, aOptions.mode.c_str(), aOptions.timeouts.data(), Err()), "eOpen");
    }

    if (aOptions.echo)
        eSetEchoFlag(1); // returns 0 in every case; a failed switch is in the trace only
    if (aOptions.tcpEcho)
        eSetTcpFlag(1, 1); // also ends the library's trace, so long transfers show no progress then

    if (!aOptions.gsm.empty())
    {
        // Modem set-up with echo on (its power-on state), then the data call; the GSM variant of the
        // channel removes the echo of every request during the call.
        Check(eWriteATZtoGSM(Err()), "eWriteATZtoGSM");
        Check(eSetEchoMode(1, Err()), "eSetEchoMode");
        Check(eWriteATCBSTtoGSM(aOptions.cbst.c_str(), static_cast<uint32_t>(aOptions.cbst.size()), Err()),
              "eWriteATCBSTtoGSM");
        Check(eWriteATD2toGSM(Err()), "eWriteATD2toGSM");
        Check(eWriteATS7toGSM(Err()), "eWriteATS7toGSM");
        if (aOptions.gsm.size() > 12)
            throw UsageError("--gsm: the phone number has at most 12 characters");
        Check(eWriteATDtoGSM(aOptions.gsm.c_str(), static_cast<uint32_t>(aOptions.gsm.size()),
                             aOptions.dialSeconds, Err()),
              "eWriteATDtoGSM");
        gsmCall_ = true;
        if (eSetGSMFlag(1) != 1)
            throw MeterError("cannot switch the channel to the GSM data call");
    }
    if (aOptions.gateway)
    {
        if (eSetGSMFlag(2) != 1)
            throw MeterError("cannot switch the channel to the GSM gateway");
        uint32_t baud = 0;
        uint32_t data = 0;
        uint32_t stop = 0;
        LineSettings(aOptions.mode, baud, data, stop);
        Check(
            eWriteParamGSMLock(baud, data, stop, 0, 0, aOptions.gatewayTimeout, aOptions.gatewayLock, Err()),
            "eWriteParamGSMLock");
    }

    char serial[64] = {};
    Check(eReadSerialNumber(address_, serial, Err()), "eReadSerialNumber");
    serial_ = Cp1251ToUtf8(serial);
}

void Session::Close()
{
    if (gsmCall_)
    {
        gsmCall_ = false;
        eDisconnectGSM(Err()); // a failed hang-up is not worth hiding the report for
    }
    if (opened_)
    {
        opened_ = false;
        eClose(0, Err());
    }
    os::RemovePortFolder(portFolder_);
    portFolder_.clear();
    if (simulator_)
    {
        simulator_ = false;
        StopSimulator();
    }
}

} // namespace q310cli
