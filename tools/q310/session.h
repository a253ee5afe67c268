// One meter session through the library's exports: open the path (serial port, TCP bridge, GSM data
// call or gateway), create the protocol client, run exports, close.
#pragma once

#include "trace_tap.h"

#include <array>
#include <cstdint>
#include <string>

namespace q310cli
{

struct ConnectionOptions
{
    std::string port; // COM number, "COMn" or (Linux) a device path
    std::string tcp;  // HOST:PORT of a serial-to-TCP bridge
    bool sim = false; // the in-process simulator
    std::string simState;
    std::string mode = "baud=9600 parity=None data=8 stop=1 dtr=on rts=on";
    std::array<uint32_t, 5> timeouts{20, 0, 300, 0, 0};
    bool echo = false;    // RS-485 line that echoes requests
    bool tcpEcho = false; // TCP bridge that echoes requests
    std::string gsm;      // phone number of a GSM data call
    std::string cbst = "71,0,1";
    uint32_t dialSeconds = 60;
    bool gateway = false; // GSM gateway packets
    uint32_t gatewayTimeout = 1000;
    uint32_t gatewayLock = 0;
    uint32_t address = 1;
};

class Session
{
public:
    explicit Session(TraceTap& aTap) : tap_(aTap) {}
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    // Opens the path and reads the serial number (which creates the protocol client); throws
    // MeterError, UsageError or InputError.
    void Open(const ConnectionOptions& aOptions);
    // Hangs up a GSM call and closes; safe to call twice.
    void Close();

    const std::string& Serial() const { return serial_; }
    uint32_t Address() const { return address_; }
    TraceTap& Tap() { return tap_; }

    // The error buffer the exports write their message into; Check turns a result into success or a
    // MeterError with the message in UTF-8.
    char* Err();
    void Check(int32_t aResult, const char* pExport);

private:
    TraceTap& tap_;
    bool opened_ = false;
    bool gsmCall_ = false;
    bool simulator_ = false;
    std::string portFolder_;
    std::string serial_;
    uint32_t address_ = 1;
    char err_[512] = {};
};

} // namespace q310cli
