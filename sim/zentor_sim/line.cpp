#include "zentor_sim/line.h"

#include <algorithm>
#include <cctype>
#include <cstdio>

namespace zentor_sim
{

namespace
{

Bytes Text(const std::string& text)
{
    return Bytes(text.begin(), text.end());
}
Bytes Result(const std::string& text)
{
    return Text("\r\n" + text + "\r\n");
}

// Keeps the input buffer bounded when a host sends only noise.
constexpr size_t kInputLimit = 1024;
constexpr size_t kInputKeep = 512;

} // namespace

const char* LineModeName(LineMode mode)
{
    switch (mode)
    {
        case LineMode::Plain:
            return "plain";
        case LineMode::Echo:
            return "echo";
        case LineMode::Modem:
            return "modem";
        case LineMode::Gateway:
            return "gateway";
    }
    return "plain";
}

bool ParseLineMode(const std::string& text, LineMode& mode)
{
    for (LineMode candidate : {LineMode::Plain, LineMode::Echo, LineMode::Modem, LineMode::Gateway})
        if (text == LineModeName(candidate))
        {
            mode = candidate;
            return true;
        }
    return false;
}

Bytes Reply::Joined() const
{
    Bytes all;
    for (const Chunk& chunk : chunks)
        all.insert(all.end(), chunk.bytes.begin(), chunk.bytes.end());
    return all;
}

void LineEngine::SetMode(LineMode mode)
{
    mode_ = mode;
    connected_ = false;
    ResetInput();
}

void LineEngine::ResetInput()
{
    input_.clear();
    commandLine_.clear();
}

void LineEngine::Trace(const std::string& line)
{
    if (trace_)
        trace_(line);
}

bool LineEngine::Take(int& knob)
{
    if (knob < 0)
        return true;
    if (knob > 0)
    {
        --knob;
        return true;
    }
    return false;
}

void LineEngine::Finish(Reply& reply, Bytes bytes)
{
    if (bytes.empty())
        return;
    Trace("tx " + Hex(bytes));
    const unsigned delay = faults_.delayMs;
    if (faults_.chunkSize == 0 || bytes.size() <= faults_.chunkSize)
    {
        reply.chunks.push_back(Chunk{delay, std::move(bytes)});
        return;
    }
    for (size_t at = 0; at < bytes.size(); at += faults_.chunkSize)
    {
        const size_t end = std::min(bytes.size(), at + faults_.chunkSize);
        reply.chunks.push_back(
            Chunk{at == 0 ? delay : faults_.chunkGapMs, Bytes(bytes.begin() + at, bytes.begin() + end)});
    }
}

Reply LineEngine::Feed(const uint8_t* data, size_t size)
{
    Reply reply;
    if (size == 0)
        return reply;
    Trace("rx " + Hex(data, size));
    if (mode_ == LineMode::Modem && !connected_)
        return FeedModemCommand(data, size);
    input_.insert(input_.end(), data, data + size);
    if (input_.size() > kInputLimit)
        input_.erase(input_.begin(), input_.end() - kInputKeep);

    if (mode_ == LineMode::Modem && input_.size() >= 3 && std::equal(input_.end() - 3, input_.end(), "+++"))
    {
        // Escape to command mode; the call stays up until ATH.
        connected_ = false;
        ResetInput();
        Bytes out = modem_.echo ? Text("+++") : Bytes{};
        const Bytes ok = Result("OK");
        out.insert(out.end(), ok.begin(), ok.end());
        Trace("tx " + Hex(out));
        reply.chunks.push_back(Chunk{0, out});
        return reply;
    }
    if (mode_ == LineMode::Gateway)
        return FeedGateway();
    for (size_t start = 0; start + 7 <= input_.size(); ++start)
        if (Crc16Matches(input_.data() + start, input_.size() - start))
            return MeterExchange(start);
    return reply;
}

bool LineEngine::AnswerFrame(const Bytes& request, Bytes& answer, Bytes& garbage, bool& dropped)
{
    const uint32_t address =
        static_cast<uint32_t>(request[0]) << 24 | request[1] << 16 | request[2] << 8 | request[3];
    if (!meter_.Accepts(address))
    {
        char note[64];
        std::snprintf(note, sizeof note, "-- request for address %08X: not this meter", address);
        Trace(note);
        return false;
    }
    if (Take(faults_.drop))
    {
        Trace("-- fault: connection dropped");
        dropped = true;
        return false;
    }
    if (Take(faults_.silent))
    {
        Trace("-- fault: silent");
        return false;
    }
    const Bytes payload(request.begin() + 4, request.end() - 2);
    const auto data = meter_.Handle(payload);
    if (!data)
    {
        char note[64];
        std::snprintf(note, sizeof note, "-- command %02X with %zu argument bytes: no answer", payload[0],
                      payload.size() - 1);
        Trace(note);
        return false;
    }
    uint32_t answerAddress = address;
    if (Take(faults_.wrongAddress))
    {
        Trace("-- fault: answer from another address");
        answerAddress = address + 1;
    }
    answer = BuildFrame(answerAddress, *data);
    if (Take(faults_.badCrc))
    {
        Trace("-- fault: corrupted CRC");
        answer.back() ^= 0xFF;
    }
    if (Take(faults_.garbage))
    {
        Trace("-- fault: garbage in front of the answer");
        garbage = faults_.garbageBytes;
    }
    return true;
}

Reply LineEngine::MeterExchange(size_t frameStart)
{
    const Bytes frame(input_.begin() + static_cast<std::ptrdiff_t>(frameStart), input_.end());
    input_.clear();
    Reply reply;
    Bytes out;
    if (mode_ == LineMode::Echo || (mode_ == LineMode::Modem && modem_.dataEcho))
        out = frame;
    Bytes answer, garbage;
    bool dropped = false;
    if (AnswerFrame(frame, answer, garbage, dropped))
    {
        out.insert(out.end(), garbage.begin(), garbage.end());
        out.insert(out.end(), answer.begin(), answer.end());
    }
    if (dropped)
    {
        reply.drop = true;
        return reply;
    }
    Finish(reply, std::move(out));
    return reply;
}

Reply LineEngine::FeedGateway()
{
    Reply reply;
    for (size_t start = 0; start + 9 <= input_.size(); ++start)
    {
        const auto packet = ParseGatewayPacket(input_.data() + start, input_.size() - start);
        if (!packet)
            continue;
        input_.clear();
        if (packet->port == 0)
        {
            // Parameter packet: acknowledged with the same data, first byte 0x81.
            gateway_.lastParameters = packet->data;
            Bytes data(std::max<size_t>(1, packet->data.size()), 0x00);
            std::copy(packet->data.begin(), packet->data.end(), data.begin());
            data[0] = 0x81;
            Trace("-- gateway parameters " + Hex(packet->data));
            const Bytes out = BuildGatewayPacket(packet->number, 0, data);
            Trace("tx " + Hex(out));
            reply.chunks.push_back(Chunk{0, out});
            return reply;
        }
        if (packet->data.size() < 7 || !Crc16Matches(packet->data.data(), packet->data.size()))
        {
            Trace("-- gateway packet without a meter frame");
            return reply;
        }
        Bytes answer, out;
        bool dropped = false;
        if (!AnswerFrame(packet->data, answer, out, dropped))
        {
            reply.drop = dropped;
            return reply;
        }
        // Garbage goes on the line in front of the packet, not inside it.
        const Bytes wrapped = BuildGatewayPacket(packet->number, packet->port, answer);
        out.insert(out.end(), wrapped.begin(), wrapped.end());
        Finish(reply, std::move(out));
        return reply;
    }
    // The raw first dialogue after the host switched to the gateway: plain frames.
    for (size_t start = 0; start + 7 <= input_.size(); ++start)
        if (Crc16Matches(input_.data() + start, input_.size() - start))
            return MeterExchange(start);
    return reply;
}

bool AddDialScript(const std::string& text, ModemSettings& modem)
{
    const size_t first = text.find(':');
    const size_t second = first == std::string::npos ? first : text.find(':', first + 1);
    if (second == std::string::npos || second == first + 1)
        return false;
    ModemSettings::DialScript script;
    for (size_t i = first + 1; i < second; ++i)
    {
        if (!std::isdigit(static_cast<unsigned char>(text[i])))
            return false;
        script.stepMs = script.stepMs * 10 + static_cast<unsigned>(text[i] - '0');
    }
    for (size_t start = second + 1; start <= text.size();)
    {
        const size_t comma = std::min(text.find(',', start), text.size());
        script.lines.push_back(text.substr(start, comma - start));
        start = comma + 1;
    }
    modem.dialScripts[text.substr(0, first)] = script;
    return true;
}

Reply LineEngine::FeedModemCommand(const uint8_t* data, size_t size)
{
    Reply reply;
    Bytes immediate;
    for (size_t i = 0; i < size; ++i)
    {
        const char c = static_cast<char>(data[i]);
        if (modem_.echo)
            immediate.push_back(data[i]);
        if (c == '\n')
            continue;
        if (c != '\r')
        {
            if (commandLine_.size() < 256)
                commandLine_.push_back(c);
            continue;
        }
        const std::string line = commandLine_;
        commandLine_.clear();
        Reply answer = ModemLine(line);
        // What is due at once leaves in one write with the echo.
        while (!answer.chunks.empty() && answer.chunks.front().delayMs == 0)
        {
            immediate.insert(immediate.end(), answer.chunks.front().bytes.begin(),
                             answer.chunks.front().bytes.end());
            answer.chunks.erase(answer.chunks.begin());
        }
        reply.hangup = reply.hangup || answer.hangup;
        if (!immediate.empty())
            reply.chunks.push_back(Chunk{0, immediate});
        immediate.clear();
        reply.chunks.insert(reply.chunks.end(), answer.chunks.begin(), answer.chunks.end());
        if (connected_)
        {
            // Bytes behind the dial command belong to the data call.
            input_.assign(data + i + 1, data + size);
            break;
        }
    }
    if (!immediate.empty())
        reply.chunks.push_back(Chunk{0, immediate});
    for (const Chunk& chunk : reply.chunks)
        Trace("tx " + Hex(chunk.bytes));
    return reply;
}

Reply LineEngine::ModemLine(const std::string& raw)
{
    Reply reply;
    std::string line;
    for (char c : raw)
        if (c != ' ')
            line.push_back(static_cast<char>(std::toupper(static_cast<unsigned char>(c))));
    if (line.empty())
        return reply;
    // Noise in front of the command (bytes sent while no call was up) is skipped, as a modem
    // looks for the "AT" prefix.
    if (const size_t at = line.find("AT"); at != std::string::npos)
        line.erase(0, at);
    Trace("-- modem command " + raw);
    auto answer = [&](const std::string& text) { reply.chunks.push_back(Chunk{0, Result(text)}); };
    auto startsWith = [&](const char* prefix) { return line.rfind(prefix, 0) == 0; };
    if (!startsWith("AT"))
        answer("ERROR");
    else if (line == "AT")
        answer("OK");
    else if (line == "ATZ")
    {
        modem_.echo = modem_.savedEcho;
        connected_ = false;
        answer("OK");
    }
    else if (line == "ATE0" || line == "ATE" || line == "ATE1")
    {
        modem_.echo = line == "ATE1";
        answer("OK");
    }
    else if (line == "AT&W")
    {
        modem_.savedEcho = modem_.echo;
        answer("OK");
    }
    else if (startsWith("AT+CBST="))
    {
        modem_.cbst = line.substr(line.find('=') + 1);
        answer("OK");
    }
    else if (startsWith("AT&D") || startsWith("ATS7="))
        answer("OK");
    else if (line == "ATH" || line == "ATH0")
    {
        connected_ = false;
        answer("OK");
    }
    else if (startsWith("ATD"))
    {
        std::string number = line.substr(3);
        if (!number.empty() && (number[0] == 'T' || number[0] == 'P'))
            number.erase(0, 1);
        modem_.dialledNumber = number;
        ModemSettings::DialScript script{modem_.dialStepMs, modem_.dialProgress};
        script.lines.push_back(modem_.dialResult);
        if (const auto own = modem_.dialScripts.find(number); own != modem_.dialScripts.end())
            script = own->second;
        const std::string resultText = script.lines.empty() ? std::string() : script.lines.back();
        for (size_t i = 0; i + 1 < script.lines.size(); ++i)
            reply.chunks.push_back(Chunk{script.stepMs, Result(script.lines[i])});
        Bytes result = Result(resultText);
        if (modem_.dialHangup)
        {
            Trace("-- fault: modem hangs up in the middle of its answer");
            result.resize(result.size() / 2);
            reply.hangup = true;
        }
        reply.chunks.push_back(Chunk{script.stepMs, result});
        connected_ = !modem_.dialHangup && resultText.rfind("CONNECT", 0) == 0;
        input_.clear();
    }
    else
        answer("ERROR");
    return reply;
}

} // namespace zentor_sim
