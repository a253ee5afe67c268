// q310: the command-line host of the meter library. Connects through the library's exports (serial
// port, TCP bridge, GSM data call or gateway, or the built-in simulator), runs one command and prints
// the result for a terminal (UTF-8) or as JSON.
#include "commands.h"
#include "errors.h"
#include "host_os.h"
#include "render.h"
#include "session.h"
#include "sim_host.h"
#include "trace_tap.h"

#include <CLI/CLI.hpp>

#include <chrono>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <iostream>
#include <sstream>

namespace
{
using namespace q310cli;

std::string ReadFile(const std::string& aPath)
{
    std::ifstream file(aPath, std::ios::binary);
    if (!file)
        throw InputError("cannot read " + aPath);
    std::ostringstream content;
    content << file.rdbuf();
    std::string text = content.str();
    // Lines ended CR LF by a Windows editor read as the library's own LF lines.
    std::string plain;
    plain.reserve(text.size());
    for (const char c : text)
        if (c != '\r')
            plain += c;
    return plain;
}

void WriteFile(const std::string& aPath, const std::string& aText)
{
    std::ofstream file(aPath, std::ios::binary);
    // The schedule text ends in "\tEnd" without a line end; the file gets one, as a text file should.
    file << aText;
    if (!aText.empty() && aText.back() != '\n')
        file << '\n';
    if (!file)
        throw InputError("cannot write " + aPath);
}

// Everything a run needs after parsing.
struct Run
{
    ConnectionOptions connection;
    CommandOptions command;
    bool json = false;
    bool jsonLine = false; // one line of JSON with the meter's name and the run's times (fleet runs)
    std::string name;
    std::string connect;
    std::string modem;
    std::string serial;
    bool trace = false;
    bool noProgress = false;
    std::string command_;
    std::vector<std::string> readItems;
    std::string setName;
    std::vector<std::string> setValues;
    std::string file;
    unsigned journal = 1;
    unsigned first = 0;
    unsigned count = 10;
    int parameter = -1;
    std::string date;
    int block = -1;
    bool numbers = false;
    std::string hex;
    unsigned answerSize = 256;
};

Json Execute(Session& aSession, Run& aRun, const std::string& aInput)
{
    const std::string& c = aRun.command_;
    if (c == "info")
        return Info(aSession);
    if (c == "read")
        return Read(aSession, aRun.readItems, aRun.command);
    if (c == "set")
        return Set(aSession, aRun.setName, aRun.setValues);
    if (c == "schedule get")
        return ScheduleGet(aSession, aRun.command);
    if (c == "schedule put")
        return SchedulePut(aSession, aInput, aRun.command);
    if (c == "holidays get")
        return HolidaysGet(aSession);
    if (c == "holidays put")
        return HolidaysPut(aSession, aInput);
    if (c == "holidays clear")
        return HolidaysClear(aSession);
    if (c == "journal")
        return Journal(aSession, aRun.journal, aRun.first, aRun.count, aRun.parameter, aRun.command);
    if (c == "profile")
        return Profile(aSession, aRun.date, aRun.block, aRun.numbers || aRun.json, aRun.command);
    if (c == "raw")
        return Raw(aSession, aRun.hex, aRun.answerSize);
    // The report: who the meter is, its clock, energies, network values, maxima and tariff schedule.
    Json report = Info(aSession);
    Json values = Read(aSession, {"energy", "network", "maxima"}, aRun.command);
    for (const auto& item : values.items())
        report[item.key()] = item.value();
    const Json schedule = ScheduleGet(aSession, aRun.command);
    report["tariff_schedule"] = aRun.json ? schedule : ScheduleSummary(schedule["months"]);
    return report;
}

// "tcp:HOST:PORT", "port:COM3" or "gsm:NUMBER" (the modem on --port), as a fleet inventory names
// the way to a meter, onto the connection options.
void Connect(const std::string& aConnection, const std::string& aModem, ConnectionOptions& aOptions)
{
    const size_t colon = aConnection.find(':');
    const std::string kind = aConnection.substr(0, colon);
    const std::string rest = colon == std::string::npos ? "" : aConnection.substr(colon + 1);
    if (rest.empty() || (kind != "tcp" && kind != "port" && kind != "gsm"))
        throw UsageError("--connect \"" + aConnection + "\": tcp:HOST:PORT, port:PORT or gsm:NUMBER wanted");
    if (kind == "tcp" ? !aOptions.port.empty() || !aOptions.tcp.empty() : !aOptions.tcp.empty())
        throw UsageError("--connect " + kind + ": takes no --tcp" + (kind == "tcp" ? " or --port" : ""));
    if (kind == "tcp")
        aOptions.tcp = rest;
    else if (kind == "gsm")
    {
        if (aModem.empty() && aOptions.port.empty())
            throw UsageError("--connect gsm: dials through a modem: --modem PORT");
        aOptions.gsm = rest;
        if (!aModem.empty())
            aOptions.port = aModem;
    }
    else if (!aOptions.port.empty())
        throw UsageError("--connect port: takes no --port");
    else
        aOptions.port = rest;
}

// Now in UTC as "yyyy-mm-ddThh:mm:ss.mmmZ".
std::string UtcNow()
{
    const auto now = std::chrono::system_clock::now();
    const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
    const auto millis =
        std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() % 1000;
    const std::tm utc = os::UtcFields(seconds);
    char text[80];
    snprintf(text, sizeof(text), "%04d-%02d-%02dT%02d:%02d:%02d.%03dZ", utc.tm_year + 1900, utc.tm_mon + 1,
             utc.tm_mday, utc.tm_hour, utc.tm_min, utc.tm_sec, static_cast<int>(millis));
    return text;
}

void Print(std::FILE* pOut, const std::string& aText)
{
    fwrite(aText.data(), 1, aText.size(), pOut);
    fflush(pOut);
}
} // namespace

int main(int argc, char** argv)
{
    os::Utf8Console();
    Run run;
    ConnectionOptions& c = run.connection;

    CLI::App app{"q310: reads and sets a single-phase meter through the Q310 library.\n"
                 "Without a command: a report of the meter (identity, clock, energies, network values, "
                 "maxima, tariff schedule)."};
    app.require_subcommand(0, 1);
    // The host's options may also follow the command ("q310 --sim info --json").
    app.fallthrough();
    // Only "--name" options: on Windows CLI11 would otherwise take "/path" arguments for options.
    app.allow_windows_style_options(false);
    auto* port = app.add_option("--port", c.port, "serial port: COM number, COMn, or (Linux) a device path");
    auto* tcp = app.add_option("--tcp", c.tcp, "serial-to-TCP bridge HOST:PORT");
    auto* sim = app.add_flag("--sim", c.sim,
                             SimulatorAvailable() ? "the built-in meter simulator on a pseudo-terminal"
                                                  : "the built-in simulator (Linux build only)");
    app.add_option("--sim-state", c.simState, "with --sim: the simulated meter's state (JSON, as zentor-sim)")
        ->needs(sim);
    port->excludes(tcp)->excludes(sim);
    tcp->excludes(sim);
    app.add_option("--mode", c.mode, "line settings, eOpen's mode text")->capture_default_str();
    app.add_option("--timeouts", c.timeouts,
                   "five serial time-outs in ms: read interval, read multiplier, read constant (also the TCP "
                   "read time-out), write multiplier, write constant")
        ->capture_default_str();
    app.add_flag("--echo", c.echo, "the RS-485 line echoes every request");
    app.add_flag("--tcp-echo", c.tcpEcho, "the TCP bridge echoes every request (ends the library's trace)");
    auto* gsm = app.add_option("--gsm", c.gsm, "dial this number through a GSM modem on --port (CSD call)");
    app.add_option("--cbst", c.cbst, "with --gsm: the AT+CBST parameters")->capture_default_str()->needs(gsm);
    app.add_option("--dial-timeout", c.dialSeconds, "with --gsm: seconds to wait for CONNECT")
        ->capture_default_str()
        ->needs(gsm);
    auto* gateway = app.add_flag("--gateway", c.gateway, "the meter is behind a GSM gateway (packets)");
    gateway->excludes(gsm);
    app.add_option("--gateway-timeout", c.gatewayTimeout, "with --gateway: the gateway's time-out value")
        ->capture_default_str()
        ->needs(gateway);
    app.add_option("--gateway-lock", c.gatewayLock, "with --gateway: the gateway's lock value")
        ->capture_default_str()
        ->needs(gateway);
    app.add_option("--address", c.address, "meter address")->capture_default_str();
    app.add_option("--connect", run.connect,
                   "the connection as an inventory names it: tcp:HOST:PORT, port:PORT or gsm:NUMBER "
                   "(with the modem on --port)")
        ->excludes(tcp)
        ->excludes(sim);
    app.add_option("--modem", run.modem, "with --connect gsm:NUMBER: the modem's port (ignored otherwise)");
    app.add_flag("--json", run.json, "print JSON instead of text");
    app.add_flag("--json-line", run.jsonLine,
                 "one line of JSON: name, connection, address, started, ended, result, and the values "
                 "or the library's message (for fleet runs)");
    app.add_option("--name", run.name, "with --json-line: the meter's name");
    app.add_flag("--trace", run.trace, "the library's trace on stderr");
    app.add_flag("--no-progress", run.noProgress,
                 "no progress bar (none is drawn unless stderr is a terminal)");

    auto* info = app.add_subcommand("info", "identity, firmware, variant and clock");
    auto* read =
        app.add_subcommand("read", "measurements and settings; ITEMS from: energy months network maxima "
                                   "running battery events display limits relay settings tariffs plc1 "
                                   "(default: all)");
    read->add_option("items", run.readItems, "what to read")->check(CLI::IsMember(ReadItems()));
    read->add_option("--month", run.command.months,
                     "months energies: a month 1..12, repeatable (default all)")
        ->allow_extra_args(false)
        ->check(CLI::Range(1, 12));
    read->add_option("--plc1-request", run.command.plc1Request, "plc1: the eight request bytes (hex)")
        ->capture_default_str();
    auto* set = app.add_subcommand("set", "change a setting: NAME VALUES... (docs/cli.md)");
    set->add_option("name", run.setName, "setting")->required()->check(CLI::IsMember(SetNames()));
    set->add_option("values", run.setValues, "its values");
    auto* schedule = app.add_subcommand("schedule", "the tariff schedule text");
    schedule->require_subcommand(1);
    schedule
        ->add_option("--zones", run.command.zones, "zones a day: 16 (tariff table commands) or 8 (raw form)")
        ->check(CLI::IsMember({8, 16}))
        ->capture_default_str();
    auto* scheduleGet = schedule->add_subcommand("get", "read it; into FILE (UTF-8) or onto stdout");
    scheduleGet->add_option("file", run.file, "output file");
    auto* schedulePut = schedule->add_subcommand("put", "write it from FILE (UTF-8 or Windows-1251)");
    schedulePut->add_option("file", run.file, "schedule text file")->required();
    auto* holidays = app.add_subcommand("holidays", "the holiday list text");
    holidays->require_subcommand(1);
    auto* holidaysGet = holidays->add_subcommand("get", "read it; into FILE or onto stdout");
    holidaysGet->add_option("file", run.file, "output file");
    auto* holidaysPut = holidays->add_subcommand("put", "write it from FILE, lines \"7 января\"");
    holidaysPut->add_option("file", run.file, "holiday text file")->required();
    auto* holidaysClear = holidays->add_subcommand("clear", "write an empty list");
    auto* journal = app.add_subcommand("journal", "event journal 1..5 (4: power quality)");
    journal->add_option("number", run.journal, "journal")->required()->check(CLI::Range(1, 5));
    journal->add_option("--first", run.first, "first entry (0 is the newest)")->capture_default_str();
    journal->add_option("--count", run.count, "entries")->capture_default_str()->check(CLI::Range(1, 201));
    journal->add_option("--parameter", run.parameter, "journal 4: only this quality parameter 0..7")
        ->check(CLI::Range(0, 7));
    auto* profile = app.add_subcommand("profile", "half-hour power profile of one day");
    profile->add_option("date", run.date, "YYYY-MM-DD")->required();
    profile->add_option("--block", run.block, "only the four-hour block 0..5")->check(CLI::Range(0, 5));
    profile->add_flag("--numbers", run.numbers, "the numeric form (always with --json)");
    auto* raw = app.add_subcommand("raw", "send a whole frame (hex) as it is and show the answer");
    raw->add_option("hex", run.hex, "frame bytes, e.g. \"00 00 00 01 2F 64 4C\"")->required();
    raw->add_option("--answer-size", run.answerSize, "answer buffer size")->capture_default_str();

    try
    {
        app.parse(argc, argv);
    }
    catch (const CLI::ParseError& error)
    {
        const int code = app.exit(error);
        return code == 0 ? kExitOk : kExitUsage;
    }

    if (info->parsed())
        run.command_ = "info";
    else if (read->parsed())
        run.command_ = "read";
    else if (set->parsed())
        run.command_ = "set";
    else if (scheduleGet->parsed())
        run.command_ = "schedule get";
    else if (schedulePut->parsed())
        run.command_ = "schedule put";
    else if (holidaysGet->parsed())
        run.command_ = "holidays get";
    else if (holidaysPut->parsed())
        run.command_ = "holidays put";
    else if (holidaysClear->parsed())
        run.command_ = "holidays clear";
    else if (journal->parsed())
        run.command_ = "journal";
    else if (profile->parsed())
        run.command_ = "profile";
    else if (raw->parsed())
        run.command_ = "raw";
    else
        run.command_ = "report";
    run.json = run.json || run.jsonLine;
    run.command.progress = !run.noProgress && !run.json && os::IsTerminal(2);
    const std::string started = UtcNow();

    TraceTap tap;
    int exitCode = kExitOk;
    std::string message;
    Json result;
    try
    {
        // No meter named: say how to name one rather than guess (a default to the simulator would make a
        // forgotten --port read a meter that does not exist).
        if (!run.connect.empty())
            Connect(run.connect, run.modem, c);
        if (c.port.empty() && c.tcp.empty() && !c.sim)
            throw UsageError(std::string("no meter given: --port COM1 (or a device path), --tcp HOST:PORT") +
                             (SimulatorAvailable() ? ", or --sim for the built-in simulator" : ""));
        if (!c.gsm.empty() && c.port.empty() && !c.sim)
            throw UsageError("--gsm dials through a modem on --port");
        // Input files are read before anything is sent.
        const std::string input =
            run.command_ == "schedule put" || run.command_ == "holidays put" ? ReadFile(run.file) : "";
        if (!tap.Start(run.trace))
            fprintf(stderr, "q310: the library's trace stays on stdout\n");
        Session session(tap);
        session.Open(c);
        run.serial = session.Serial();
        result = Execute(session, run, input);
        session.Close();
    }
    catch (const UsageError& error)
    {
        exitCode = kExitUsage;
        message = error.what();
    }
    catch (const MeterError& error)
    {
        exitCode = kExitMeter;
        message = error.what();
    }
    catch (const InputError& error)
    {
        exitCode = kExitInput;
        message = error.what();
    }
    tap.Stop();
    std::FILE* out = tap.Out();
    std::FILE* err = tap.Err();

    if (run.jsonLine)
    {
        Json line{{"name", run.name},
                  {"connection", !run.connect.empty() ? run.connect
                                 : !c.tcp.empty()     ? "tcp:" + c.tcp
                                 : c.sim              ? std::string("sim")
                                                      : "port:" + c.port},
                  {"address", c.address},
                  {"serial_number", run.serial.empty() ? Json() : Json(run.serial)},
                  {"started", started},
                  {"ended", UtcNow()},
                  {"result", exitCode == kExitOk ? "ok" : "failed"}};
        if (exitCode == kExitOk)
            line["values"] = result;
        else
        {
            line["message"] = message;
            line["exit_code"] = exitCode;
        }
        Print(out, line.dump() + "\n");
        return exitCode;
    }
    if (exitCode != kExitOk)
    {
        fprintf(err, "q310: %s\n", message.c_str());
        if (run.json)
            Print(out, Json{{"error", message}, {"exit_code", exitCode}}.dump(2) + "\n");
        return exitCode;
    }

    const bool toFile =
        !run.file.empty() && (run.command_ == "schedule get" || run.command_ == "holidays get");
    try
    {
        if (toFile)
            WriteFile(run.file, result["text"].get<std::string>());
    }
    catch (const InputError& error)
    {
        fprintf(err, "q310: %s\n", error.what());
        return kExitInput;
    }
    if (run.json)
        Print(out, result.dump(2) + "\n");
    else if (run.command_ == "set")
        Print(out, "set " + run.setName + ": done\n");
    else if (toFile)
        fprintf(err, "q310: written to %s\n", run.file.c_str());
    else
        Print(out, RenderText(result));
    return kExitOk;
}
