// zentor-sim: a simulated single-phase meter on a pseudo-terminal, a TCP port or stdin/stdout.

#include "zentor_sim/calendar.h"
#include "zentor_sim/simulator.h"
#include "zentor_sim/state_json.h"

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <memory>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

using namespace zentor_sim;

namespace
{

volatile std::sig_atomic_t gStop = 0;
void OnSignal(int)
{
    gStop = 1;
}

const char* kHelp = R"(Usage: zentor-sim [transport] [options]

A simulated single-phase meter of the Zentor family: it answers the meter protocol (address,
command, data, CRC-16) with a consistent meter state, optionally behind an RS-485 echo, a GSM
modem or a GSM gateway, and misbehaves on request.

Transport (one; default --pty):
  --pty                 make a pseudo-terminal and print its device path (open it as a COM port)
  --link PATH           with --pty: also make the symlink PATH to the device
  --tcp PORT            listen on TCP PORT (0: any free port) like a serial-to-TCP bridge; prints
                        HOST:PORT; one connection at a time
  --host ADDR           with --tcp: listen address (default 127.0.0.1)
  --stdio               read requests from stdin, write answers to stdout

Meter:
  --state FILE          load the meter state from a JSON file (keys in docs/simulator.md)
  --save FILE           write the meter state to FILE when stopped (Ctrl-C)
  --dump-state          print the default meter state as JSON and exit
  --address N           meter address (decimal or 0x..), default 1
  --any-address         answer requests to any address
  --variant 16|8        zones answered by the tariff table read 0x31: 16 (33-byte answer, default)
                        or 8 (17-byte answer)

Line mode:
  --mode plain|echo|modem|gateway
                        plain (default); echo: RS-485, each request echoed in front of the answer;
                        modem: GSM modem AT dialogue, data mode after ATD; gateway: GSM gateway
                        packets with CRC-24 headers (raw frames also answered)
  --dial-progress L,..  modem: lines sent before the dial result (e.g. RING,RING or DIALING)
  --dial-result TEXT    modem: dial result, default "CONNECT 9600" ("NO CARRIER", "BUSY", ...)
  --dial-step MS        modem: pause before each progress line and the result (default 300; 0: the
                        echo of ATD, the progress lines and the result in one write)
  --dial NUMBER:MS:L,..  modem: the answer to ATD<NUMBER> alone: lines L (progress, then the result),
                        each after MS ms (0: all of them in one write with the echo); repeatable
  --dial-hangup         modem: after the progress lines, half of the result, then the modem hangs up
                        (closes its end of the line)
  --no-data-echo        modem: no echo of requests in data mode

Faults (N: the next N requests, or "always"):
  --silent N            no answer
  --bad-crc N           answer with a corrupted CRC
  --wrong-address N     answer from address + 1
  --garbage N[:HEX]     bytes in front of the answer (default 55 AA 00)
  --drop N              close the TCP connection instead of answering
  --delay MS            wait before every answer
  --chunks SIZE:GAP     send every answer in SIZE-byte pieces with GAP ms between them

Many meters (a fleet to read in parallel):
  --meters N            N meters, each on its own pseudo-terminal or TCP port (--tcp PORT: PORT to
                        PORT+N-1, or free ports with 0; --link PATH: links PATH001, PATH002, ...);
                        meter i (from 1) has address and serial number those of the state plus i-1;
                        one line on stdout per meter, in order; the options above act on every meter
  --silent-meters LIST  these meters (e.g. 3,7,10-12) never answer
  --garbling-meters LIST
                        these meters answer every request with a corrupted CRC
  --inventory FILE      write a fleet inventory of the meters (CSV: name,connection,address,password)

Line pace (for timing a host against a real line's speed):
  --pace BAUD[:BITS]    send answer bytes one character time apart at BAUD, BITS bits a character
                        (default 10: start, 8 data, stop; 11 with parity)
  --turnaround MS       with --pace: the meter's pause after the request's last byte (may be
                        fractional, default 0)

  --trace               hex trace of every request and answer on stderr
  --help                this text
)";

int Count(const std::string& text)
{
    if (text == "always")
        return kAlways;
    return std::stoi(text);
}

uint32_t Number(const std::string& text)
{
    return static_cast<uint32_t>(std::stoul(text, nullptr, 0));
}

// "3,7,10-12" as the set of meter numbers 1..count it names.
std::vector<bool> MeterList(const std::string& text, unsigned count, const std::string& option)
{
    std::vector<bool> chosen(count + 1, false);
    std::stringstream list(text);
    std::string item;
    while (std::getline(list, item, ','))
    {
        const size_t dash = item.find('-');
        const unsigned first = Number(item.substr(0, dash));
        const unsigned last = dash == std::string::npos ? first : Number(item.substr(dash + 1));
        if (first < 1 || last < first || last > count)
            throw std::runtime_error(option + ": " + item + " is not among the meters 1.." +
                                     std::to_string(count));
        for (unsigned i = first; i <= last; ++i)
            chosen[i] = true;
    }
    return chosen;
}

} // namespace

int main(int argc, char** argv)
{
    std::string transport = "pty", link, host = "127.0.0.1", statePath, savePath;
    uint16_t port = 0;
    bool trace = false;
    unsigned meters = 1;
    std::string silentMeters, garblingMeters, inventoryPath;
    Simulator sim;
    Meter& meter = sim.GetMeter();
    Faults& faults = sim.GetFaults();
    LineEngine& line = sim.Line();
    try
    {
        // State first, so that the other options override it.
        for (int i = 1; i + 1 < argc; ++i)
            if (std::string(argv[i]) == "--state")
                LoadStateFile(meter, argv[i + 1]);
        for (int i = 1; i < argc; ++i)
        {
            const std::string option = argv[i];
            auto value = [&]() -> std::string
            {
                if (i + 1 >= argc)
                    throw std::runtime_error(option + " needs a value");
                return argv[++i];
            };
            if (option == "--help" || option == "-h")
            {
                std::cout << kHelp;
                return 0;
            }
            else if (option == "--pty")
                transport = "pty";
            else if (option == "--link")
                link = value();
            else if (option == "--tcp")
            {
                transport = "tcp";
                port = static_cast<uint16_t>(Number(value()));
            }
            else if (option == "--host")
                host = value();
            else if (option == "--stdio")
                transport = "stdio";
            else if (option == "--state")
                statePath = value();
            else if (option == "--save")
                savePath = value();
            else if (option == "--dump-state")
            {
                std::cout << ToJson(meter).dump(2) << "\n";
                return 0;
            }
            else if (option == "--address")
                meter.State().address = Number(value());
            else if (option == "--any-address")
                meter.State().acceptAnyAddress = true;
            else if (option == "--variant")
            {
                const uint32_t zones = Number(value());
                if (zones != 8 && zones != 16)
                    throw std::runtime_error("--variant takes 16 or 8");
                meter.State().zoneTableReadZones = zones;
            }
            else if (option == "--mode")
            {
                LineMode mode;
                if (!ParseLineMode(value(), mode))
                    throw std::runtime_error("--mode takes plain, echo, modem or gateway");
                line.SetMode(mode);
            }
            else if (option == "--dial-progress")
            {
                std::stringstream list(value());
                std::string item;
                line.Modem().dialProgress.clear();
                while (std::getline(list, item, ','))
                    line.Modem().dialProgress.push_back(item);
            }
            else if (option == "--dial-result")
                line.Modem().dialResult = value();
            else if (option == "--dial-step")
                line.Modem().dialStepMs = Number(value());
            else if (option == "--dial")
            {
                if (!AddDialScript(value(), line.Modem()))
                    throw std::runtime_error("--dial takes NUMBER:MS:LINE,LINE,...");
            }
            else if (option == "--dial-hangup")
                line.Modem().dialHangup = true;
            else if (option == "--no-data-echo")
                line.Modem().dataEcho = false;
            else if (option == "--silent")
                faults.silent = Count(value());
            else if (option == "--bad-crc")
                faults.badCrc = Count(value());
            else if (option == "--wrong-address")
                faults.wrongAddress = Count(value());
            else if (option == "--garbage")
            {
                const std::string text = value();
                const size_t colon = text.find(':');
                faults.garbage = Count(text.substr(0, colon));
                if (colon != std::string::npos)
                {
                    const auto bytes = ParseHex(text.substr(colon + 1));
                    if (!bytes || bytes->empty())
                        throw std::runtime_error("--garbage: bad hex bytes");
                    faults.garbageBytes = *bytes;
                }
            }
            else if (option == "--drop")
                faults.drop = Count(value());
            else if (option == "--delay")
                faults.delayMs = Number(value());
            else if (option == "--chunks")
            {
                const std::string text = value();
                const size_t colon = text.find(':');
                faults.chunkSize = Number(text.substr(0, colon));
                faults.chunkGapMs = colon == std::string::npos ? 0 : Number(text.substr(colon + 1));
            }
            else if (option == "--pace")
            {
                const std::string text = value();
                const size_t colon = text.find(':');
                Pacing& pacing = sim.GetPacing();
                pacing.baud = Number(text.substr(0, colon));
                pacing.bitsPerByte = colon == std::string::npos ? 10 : Number(text.substr(colon + 1));
                if (pacing.baud == 0 || pacing.bitsPerByte < 7 || pacing.bitsPerByte > 12)
                    throw std::runtime_error("--pace takes BAUD (not 0) and optionally :BITS (7 to 12)");
            }
            else if (option == "--turnaround")
            {
                const double ms = std::stod(value());
                if (ms < 0 || ms > 60000)
                    throw std::runtime_error("--turnaround takes 0 to 60000 ms");
                sim.GetPacing().turnaroundUs = static_cast<unsigned>(ms * 1000.0 + 0.5);
            }
            else if (option == "--trace")
                trace = true;
            else if (option == "--meters")
            {
                meters = Number(value());
                if (meters < 1 || meters > 5000)
                    throw std::runtime_error("--meters takes 1 to 5000");
            }
            else if (option == "--silent-meters")
                silentMeters = value();
            else if (option == "--garbling-meters")
                garblingMeters = value();
            else if (option == "--inventory")
                inventoryPath = value();
            else
                throw std::runtime_error("unknown option " + option + " (see --help)");
        }
    }
    catch (const std::exception& error)
    {
        std::cerr << "zentor-sim: " << error.what() << "\n";
        return 2;
    }

    if (meters > 1 || !silentMeters.empty() || !garblingMeters.empty() || !inventoryPath.empty())
    {
        if (transport == "stdio" || !savePath.empty())
        {
            std::cerr << "zentor-sim: several meters need --pty or --tcp, and have no --save\n";
            return 2;
        }
        std::vector<bool> silent, garbling;
        try
        {
            silent = MeterList(silentMeters, meters, "--silent-meters");
            garbling = MeterList(garblingMeters, meters, "--garbling-meters");
        }
        catch (const std::exception& error)
        {
            std::cerr << "zentor-sim: " << error.what() << "\n";
            return 2;
        }
        // Every meter a copy of the one the options described, with its own address and serial number.
        std::vector<std::unique_ptr<Simulator>> fleet;
        std::ofstream inventory;
        if (!inventoryPath.empty())
        {
            inventory.open(inventoryPath);
            inventory << "name,connection,address,password\n";
        }
        std::signal(SIGINT, OnSignal);
        std::signal(SIGTERM, OnSignal);
        std::signal(SIGPIPE, SIG_IGN);
        try
        {
            for (unsigned i = 1; i <= meters; ++i)
            {
                MeterState state = meter.State();
                state.address += i - 1;
                state.serialNumber += i - 1;
                auto one = std::make_unique<Simulator>(state);
                one->GetFaults() = faults;
                one->GetPacing() = sim.GetPacing();
                one->Line().SetMode(line.Mode());
                one->Line().Modem() = line.Modem();
                if (silent[i])
                    one->GetFaults().silent = kAlways;
                if (garbling[i])
                    one->GetFaults().badCrc = kAlways;
                if (trace)
                    one->TraceToStderr();
                char name[32];
                std::snprintf(name, sizeof name, "meter-%03u", i);
                std::string endpoint;
                if (transport == "pty")
                    endpoint = one->StartPty(link.empty() ? "" : link + (name + 6));
                else
                    endpoint = host + ":" + std::to_string(one->StartTcp(port == 0 ? 0 : port + i - 1, host));
                std::cout << endpoint << "\n";
                if (inventory.is_open())
                    inventory << name << "," << (transport == "pty" ? "port:" : "tcp:")
                              << (transport == "pty" && !link.empty() ? link + (name + 6) : endpoint) << ","
                              << state.address << ",\n";
                fleet.push_back(std::move(one));
            }
            std::cout << std::flush;
            if (inventory.is_open())
            {
                inventory.close();
                if (!inventory)
                    throw std::runtime_error("cannot write " + inventoryPath);
            }
        }
        catch (const std::exception& error)
        {
            std::cerr << "zentor-sim: " << error.what() << "\n";
            return 1;
        }
        std::cerr << "zentor-sim: " << meters << " meters, addresses " << meter.State().address << " to "
                  << meter.State().address + meters - 1 << ", serial numbers " << meter.State().serialNumber
                  << " to " << meter.State().serialNumber + meters - 1 << ", line mode "
                  << LineModeName(line.Mode()) << "\n";
        while (!gStop)
            ::pause();
        for (auto& one : fleet)
            one->Stop();
        return 0;
    }

    if (trace)
        sim.TraceToStderr();
    std::signal(SIGINT, OnSignal);
    std::signal(SIGTERM, OnSignal);
    std::signal(SIGPIPE, SIG_IGN);
    try
    {
        char address[16];
        std::snprintf(address, sizeof address, "%08X", meter.State().address);
        std::cerr << "zentor-sim: meter address " << address << ", serial " << meter.State().serialNumber
                  << ", line mode " << LineModeName(line.Mode()) << ", clock " << FormatTime(meter.Now());
        if (sim.GetPacing().On())
            std::cerr << ", pace " << sim.GetPacing().baud << " baud x " << sim.GetPacing().bitsPerByte
                      << " bits, turnaround " << sim.GetPacing().turnaroundUs / 1000.0 << " ms";
        std::cerr << "\n";
        if (transport == "stdio")
            sim.RunStdio();
        else
        {
            if (transport == "pty")
                std::cout << sim.StartPty(link) << std::endl;
            else
                std::cout << host << ":" << sim.StartTcp(port, host) << std::endl;
            while (!gStop)
                ::pause();
            sim.Stop();
        }
        if (!savePath.empty())
        {
            auto lock = sim.Lock();
            SaveStateFile(meter, savePath);
        }
    }
    catch (const std::exception& error)
    {
        std::cerr << "zentor-sim: " << error.what() << "\n";
        return 1;
    }
    return 0;
}
