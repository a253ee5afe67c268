// Q310.dll under wine as a host program uses it: loaded with LoadLibrary, every export resolved by its
// decorated name, then driven end to end against zentor-sim over TCP (eTcpOpen to a simulator on
// loopback) and over a COM port (eOpen on a COM number whose link in the wine prefix points at the
// simulator's pseudo-terminal). Run through scripts/wine-dll-e2e.sh, which starts the simulators from
// tests/dll/meter.json and names them in the environment.
//
// Here: the export table and the trace files; then the cases shared with the linked
// library (e2e/e2e_cases.h) on both paths.
#include "dll_host.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>
#include <vector>

#define HOST_CALL(name) Q310_DLL(name)

namespace
{
using dll::Bytes;
using host::Cp1251;
using host::Frame;
using host::kMode;
using host::kTimeOuts;

enum class Path
{
    Tcp,
    Com
};

std::string PathName(const ::testing::TestParamInfo<Path>& aInfo)
{
    return aInfo.param == Path::Tcp ? "Tcp" : "Com";
}

class DllTest : public ::testing::Test, public host::ErrBuffer
{
protected:
    void SetUp() override { ClearErr(); }
    void TearDown() override
    {
        if (opened)
            Q310_DLL(eClose)(0, err);
    }

    // Opens the meter by its name in the environment, over TCP or its COM link.
    bool OpenMeter(const std::string& aName, bool aTcp)
    {
        meter = dll::MeterFromEnv(aName);
        if (!meter.Present())
        {
            ADD_FAILURE() << "the wrapper script named no meter " << aName;
            return false;
        }
        const int32_t result = aTcp ? Q310_DLL(eTcpOpen)(meter.port, "127.0.0.1", 0, kTimeOuts[2], err)
                                    : Q310_DLL(eOpen)(meter.port, kMode, kTimeOuts, err);
        opened = true;
        EXPECT_EQ(result, 1) << aName;
        return result == 1;
    }
    // Opens and creates the protocol client with eReadSerialNumber.
    bool OpenClient(const std::string& aName, bool aTcp)
    {
        if (!OpenMeter(aName, aTcp))
            return false;
        char serial[32] = {};
        const int32_t result = Q310_DLL(eReadSerialNumber)(1, serial, err);
        EXPECT_EQ(result, 1);
        EXPECT_STREQ(serial, "21000417");
        return result == 1;
    }

    // The bytes the meter received while aAction ran.
    Bytes Sent(const std::function<void()>& aAction)
    {
        const long mark = meter.Mark();
        aAction();
        return meter.ReceivedSince(mark);
    }

    bool opened = false;
    dll::Meter meter;
};

class HostTest : public DllTest, public ::testing::WithParamInterface<Path>
{
protected:
    bool Tcp() const { return GetParam() == Path::Tcp; }
    bool OpenSession() { return OpenClient(Tcp() ? "TCP" : "COM", Tcp()); }
    bool OpenSilent() { return OpenMeter(Tcp() ? "TCP_SILENT" : "COM_SILENT", Tcp()); }
    int32_t MeterCom() const { return dll::MeterFromEnv("COM").port; }
    // The path's meter behind aLine (on TCP: plain or echoing), opened without a client.
    bool OpenLine(host::Line aLine)
    {
        if (opened)
            Q310_DLL(eClose)(0, err);
        static const char* const kCom[] = {"COM", "COM_ECHO", "COM_MODEM", "COM_GATEWAY"};
        static const char* const kTcp[] = {"TCP", "TCP_ECHO", "", ""};
        return OpenMeter((Tcp() ? kTcp : kCom)[static_cast<int>(aLine)], Tcp());
    }
};

// ---- The export table ----

TEST(Exports, TheNinetyNamesResolveWithTheirUnderscore)
{
    const dll::Library& library = dll::Library::Get();
    EXPECT_EQ(library.Names().size(), 90u);
    for (const std::string& problem : library.Problems())
        ADD_FAILURE() << problem;
    // The plain names are not in the table: a host must ask for "_eOpen".
    EXPECT_EQ(GetProcAddress(library.Module(), "eOpen"), nullptr);
    EXPECT_EQ(GetProcAddress(library.Module(), "eReadFrequency"), nullptr);

    // The export table itself holds exactly these names: the q310_export_table test.
}

// The exports trace into tmp\trace.txt and tmp\traceerrors.txt of the host's working directory (the
// wrapper script makes tmp), with CRLF line ends. The flush thread ends with the first eClose of the
// process; later sessions' lines reach the files when the next eOpen or eTcpOpen reopens them.
std::string ReadFiles(const std::vector<const char*>& aNames)
{
    std::string all;
    for (const char* name : aNames)
    {
        FILE* file = fopen(name, "rb");
        if (file == nullptr)
            continue;
        char buffer[4096];
        size_t got = 0;
        while ((got = fread(buffer, 1, sizeof(buffer), file)) > 0)
            all.append(buffer, got);
        fclose(file);
    }
    return all;
}

TEST_F(DllTest, TraceFilesInTheWorkingDirectory)
{
    opened = true;
    EXPECT_EQ(Q310_DLL(eOpen)(199, kMode, kTimeOuts, err), 0);
    EXPECT_EQ(Q310_DLL(eClose)(0, err), 1);
    ASSERT_TRUE(OpenClient("TCP", true));
    char text[32] = {};
    ASSERT_EQ(Q310_DLL(eReadFrequency)(0, text, err), 1);
    EXPECT_EQ(Q310_DLL(eClose)(0, err), 1);
    ASSERT_TRUE(OpenMeter("TCP", true));

    const std::string trace = ReadFiles({"tmp\\trace_old.txt", "tmp\\trace.txt"});
    EXPECT_NE(trace.find("Open 'COM199'\r\n\r\n"), std::string::npos);
    EXPECT_NE(trace.find("--> Kel_Module_ZentorProtocolClient::_eReadFrequency (0x00000101)\r\n\r\n"),
              std::string::npos);
    const std::string errors = ReadFiles({"tmp\\traceerrors_old.txt", "tmp\\traceerrors.txt"});
    EXPECT_NE(errors.find("--- GotoError: Bad statuscode 0x80020000\r\n, File=Q310, Line="),
              std::string::npos);
    // Flow lines go to the trace file only.
    EXPECT_EQ(errors.find("_eReadFrequency"), std::string::npos);
}

} // namespace

#include "e2e/e2e_cases.h"

namespace
{
TEST(Exports, TheListIsTheLibrarysList)
{
    EXPECT_EQ(dll::Library::Get().Names(), host::ExportNames());
}

INSTANTIATE_TEST_SUITE_P(Paths, HostTest, ::testing::Values(Path::Tcp, Path::Com), PathName);

} // namespace

int main(int argc, char** argv)
{
    ::testing::InitGoogleTest(&argc, argv);
    const std::string dllPath = dll::Env("Q310_DLL");
    const std::string exportsPath = dll::Env("Q310_EXPORTS");
    if (dllPath.empty() || exportsPath.empty())
    {
        fprintf(stderr, "test host: run through scripts/wine-dll-e2e.sh (Q310_DLL and Q310_EXPORTS unset)\n");
        return 1;
    }
    if (!dll::Library::Get().Load(dllPath, exportsPath))
    {
        for (const std::string& problem : dll::Library::Get().Problems())
            fprintf(stderr, "test host: %s\n", problem.c_str());
        return 1;
    }
    return RUN_ALL_TESTS();
}
