// The line in front of the simulated meter: how request bytes come in and answers go out in each
// line mode (plain, RS-485 echo, GSM modem, GSM gateway), and the fault knobs that make the meter
// misbehave on purpose. Transport-free: bytes in, timed chunks out.
#pragma once

#include "zentor_sim/codec.h"
#include "zentor_sim/meter.h"

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace zentor_sim
{

enum class LineMode
{
    Plain,   // answer frames only
    Echo,    // RS-485: each request echoed in front of the answer, in one write
    Modem,   // GSM modem: AT dialogue, then data mode with the modem's echo
    Gateway, // GSM gateway: raw first dialogue, then CRC-24 packets; parameter packets
};

const char* LineModeName(LineMode mode);
struct ModemSettings;
// "NUMBER:MS:LINE,LINE,..." (zentor-sim --dial) into the modem's dial scripts; false when malformed.
bool AddDialScript(const std::string& text, ModemSettings& modem);
bool ParseLineMode(const std::string& text, LineMode& mode);

// A count knob acts on the next n requests (it counts down); kAlways makes it act on every one.
constexpr int kAlways = -1;

struct Faults
{
    int silent = 0;       // no answer (an RS-485 line or a modem still echoes the request)
    int badCrc = 0;       // answer frame with its last CRC byte inverted
    int wrongAddress = 0; // answer frame from the meter's address + 1
    int garbage = 0;      // garbageBytes sent in front of the answer frame
    Bytes garbageBytes{0x55, 0xAA, 0x00};
    int drop = 0;            // the TCP connection is closed instead of answering
    unsigned delayMs = 0;    // every answer waits this long
    unsigned chunkSize = 0;  // every answer goes out in pieces of this many bytes ...
    unsigned chunkGapMs = 0; // ... with this pause between them
};

// The pace of a real serial line, for timing hosts against it: answer bytes leave one character time
// apart at the baud rate, and the answer starts a turnaround after the request's last byte would have
// arrived at that rate (the simulator cannot slow the host's write, so it counts the request's own
// character times from its first byte). Baud 0: bytes go out as fast as the transport takes them.
struct Pacing
{
    unsigned baud = 0;
    unsigned bitsPerByte = 10; // start, 8 data bits, stop; 11 with a parity bit
    unsigned turnaroundUs = 0; // meter's pause between request and answer

    bool On() const { return baud != 0; }
    // Time that aBytes characters take on the line, in microseconds (0 when pacing is off).
    double WireUs(size_t aBytes) const
    {
        return On() ? static_cast<double>(aBytes) * bitsPerByte * 1e6 / baud : 0.0;
    }
};

struct ModemSettings
{
    bool echo = true;                      // ATE1: command characters echoed
    bool savedEcho = true;                 // profile restored by ATZ, stored by AT&W
    bool dataEcho = true;                  // in data mode each request is echoed in front of the answer
    std::vector<std::string> dialProgress; // lines sent before the result, e.g. "RING", "DIALING"
    std::string dialResult = "CONNECT 9600";
    unsigned dialStepMs = 300; // pause before each progress line and before the result (0: all of them
                               // in the one write that carries the echo of ATD)
    bool dialHangup = false;   // after the progress lines the modem sends half of the result and hangs
                               // up (closes its end of the line)
    // Answers of their own for some numbers: what the modem sends when that number is dialled.
    struct DialScript
    {
        unsigned stepMs = 0;            // pause before each line (0: all with the echo, in one write)
        std::vector<std::string> lines; // progress lines, then the result
    };
    std::map<std::string, DialScript> dialScripts;
    // Last values given by the host (for the trace and the state dump).
    std::string cbst;
    std::string dialledNumber;
};

struct GatewaySettings
{
    Bytes lastParameters; // data of the last parameter packet
};

struct Chunk
{
    unsigned delayMs = 0; // pause before these bytes
    Bytes bytes;
};

struct Reply
{
    std::vector<Chunk> chunks;
    bool drop = false;   // close the connection instead of answering (TCP); other transports ignore it
    bool hangup = false; // close the line's end after the chunks, on every transport
    Bytes Joined() const;
};

using TraceSink = std::function<void(const std::string&)>;

class LineEngine
{
public:
    LineEngine(Meter& meter, Faults& faults) : meter_(meter), faults_(faults) {}

    LineMode Mode() const { return mode_; }
    void SetMode(LineMode mode);
    ModemSettings& Modem() { return modem_; }
    GatewaySettings& Gateway() { return gateway_; }
    bool ModemConnected() const { return connected_; }
    void SetTrace(TraceSink sink) { trace_ = std::move(sink); }

    // Takes the next bytes from the line; returns what goes back.
    Reply Feed(const uint8_t* data, size_t size);
    // Forgets incomplete input (a pause on the line, a new connection).
    void ResetInput();
    bool HasPendingInput() const { return !input_.empty(); }

private:
    // The meter's part: a complete frame in, the answer frame (or nothing) out.
    bool AnswerFrame(const Bytes& request, Bytes& answer, Bytes& garbage, bool& dropped);
    Reply MeterExchange(size_t frameStart);
    Reply FeedModemCommand(const uint8_t* data, size_t size);
    Reply ModemLine(const std::string& line);
    Reply FeedGateway();
    // Traces the answer and cuts it into timed chunks as the delay and chunk knobs say.
    void Finish(Reply& reply, Bytes bytes);
    void Trace(const std::string& line);
    static bool Take(int& knob);

    Meter& meter_;
    Faults& faults_;
    LineMode mode_ = LineMode::Plain;
    ModemSettings modem_;
    GatewaySettings gateway_;
    bool connected_ = false;
    Bytes input_;
    std::string commandLine_;
    TraceSink trace_;
};

} // namespace zentor_sim
