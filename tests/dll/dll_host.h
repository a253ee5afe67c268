// The test host's view of Q310.dll and of the simulated meters that scripts/wine-dll-e2e.sh starts.
//
// The library is loaded as a host program loads it: LoadLibrary on the DLL's path and GetProcAddress
// with the decorated name ("_eOpen"). Nothing here links against the import library; the declarations
// of Q310.h serve only to type the resolved pointers:
//
//   Q310_DLL(eReadFrequency)(0, text, err)
//
// The simulators are Linux processes reached over loopback TCP or through COM links of the wine
// prefix; each writes its hex trace ("zentor-sim: rx 00 00 00 01 81 ...") to a file that the host
// reads back to see the bytes the meter received.
#pragma once

#include "e2e/e2e_host.h"

#include <windows.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>
#include <vector>

namespace dll
{

using Bytes = host::Bytes;

// An environment variable set by the wrapper script, or the empty text.
inline std::string Env(const char* aName)
{
    const char* value = getenv(aName);
    return value != nullptr ? value : "";
}

class Library
{
public:
    static Library& Get()
    {
        static Library library;
        return library;
    }
    // Loads the DLL and resolves every listed name with its underscore; the failures are described in
    // Problems().
    bool Load(const std::string& aDllPath, const std::string& aExportsPath)
    {
        module_ = LoadLibraryA(aDllPath.c_str());
        if (module_ == nullptr)
        {
            problems_.push_back("LoadLibrary(" + aDllPath + ") failed, error " +
                                std::to_string(GetLastError()));
            return false;
        }
        FILE* file = fopen(aExportsPath.c_str(), "r");
        if (file == nullptr)
        {
            problems_.push_back("cannot read " + aExportsPath);
            return false;
        }
        char line[128];
        while (fgets(line, sizeof(line), file) != nullptr)
        {
            std::string name(line);
            while (!name.empty() && (name.back() == '\n' || name.back() == '\r' || name.back() == ' '))
                name.pop_back();
            if (name.empty())
                continue;
            names_.push_back(name);
            FARPROC address = GetProcAddress(module_, ("_" + name).c_str());
            if (address == nullptr)
                problems_.push_back("GetProcAddress(_" + name + ") found nothing");
            else
                functions_[name] = address;
        }
        fclose(file);
        return problems_.empty();
    }
    HMODULE Module() const { return module_; }
    const std::vector<std::string>& Names() const { return names_; }
    const std::vector<std::string>& Problems() const { return problems_; }

    template <typename Function> Function Resolve(const char* pName)
    {
        const auto found = functions_.find(pName);
        if (found == functions_.end())
        {
            fprintf(stderr, "test host: %s was not resolved from the DLL\n", pName);
            abort();
        }
        return reinterpret_cast<Function>(reinterpret_cast<void*>(found->second));
    }

private:
    HMODULE module_ = nullptr;
    std::vector<std::string> names_;
    std::vector<std::string> problems_;
    std::map<std::string, FARPROC> functions_;
};

#define Q310_DLL(name) (::dll::Library::Get().Resolve<decltype(&::name)>(#name))

// One simulated meter: its TCP port or COM number and its trace file.
struct Meter
{
    int32_t port = 0;
    std::string traceFile;

    bool Present() const { return port != 0 && !traceFile.empty(); }

    // Where the trace ends now; ReceivedSince gives the bytes the meter read after that point.
    long Mark() const
    {
        FILE* file = fopen(traceFile.c_str(), "rb");
        if (file == nullptr)
            return 0;
        fseek(file, 0, SEEK_END);
        const long end = ftell(file);
        fclose(file);
        return end;
    }
    // The bytes of every "rx" line after aMark, in the order read.
    Bytes ReceivedSince(long aMark) const
    {
        Bytes bytes;
        FILE* file = fopen(traceFile.c_str(), "rb");
        if (file == nullptr)
            return bytes;
        fseek(file, aMark, SEEK_SET);
        char line[4096];
        const std::string prefix = "zentor-sim: rx ";
        while (fgets(line, sizeof(line), file) != nullptr)
        {
            const std::string text(line);
            if (text.rfind(prefix, 0) != 0)
                continue;
            for (size_t i = prefix.size(); i + 1 < text.size(); i += 3)
            {
                if (!isxdigit(static_cast<unsigned char>(text[i])))
                    break;
                bytes.push_back(static_cast<uint8_t>(strtoul(text.substr(i, 2).c_str(), nullptr, 16)));
            }
        }
        fclose(file);
        return bytes;
    }
};

// A meter the wrapper script started: Q310_SIM_<NAME>_PORT (TCP port or COM number) and
// Q310_SIM_<NAME>_TRACE (its trace file as a Windows path).
inline Meter MeterFromEnv(const std::string& aName)
{
    Meter meter;
    meter.port = atoi(Env(("Q310_SIM_" + aName + "_PORT").c_str()).c_str());
    meter.traceFile = Env(("Q310_SIM_" + aName + "_TRACE").c_str());
    return meter;
}

} // namespace dll
