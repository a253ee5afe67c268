// Q310.dll under wine as a host program uses it: loaded with LoadLibrary, every export resolved by its
// decorated name, then driven end to end against zentor-sim over TCP (eTcpOpen to a simulator on
// loopback) and over a COM port (eOpen on a COM number whose link in the wine prefix points at the
// simulator's pseudo-terminal). Run through scripts/wine-dll-e2e.sh, which starts the simulators from
// tests/dll/meter.json and names them in the environment.
//
// Checked: the export table, host texts and numbers, the Windows-1251 messages byte for byte when the
// meter stays silent, the request frames the meter received (its hex trace), the null-pointer rule,
// the RS-485 echo line and a GSM modem data call.
#include "dll_host.h"

#include <gtest/gtest.h>

#include <cstring>
#include <iterator>
#include <functional>
#include <set>
#include <string>
#include <vector>

namespace
{
using dll::Bytes;
using dll::Cp1251;
using dll::Frame;

const int32_t kBad = static_cast<int32_t>(0x80AB0000u);
const int32_t kUnknownResponse = static_cast<int32_t>(0x8A050000u);
// A read returns 20 ms after the last byte or after 300 ms.
const uint32_t kTimeOuts[5] = {20, 0, 300, 0, 0};
const char* const kMode = "baud=9600 parity=None data=8 stop=1 dtr=on rts=on";
constexpr char kUntouched = '\x7E';

enum class Path
{
    Tcp,
    Com
};

std::string PathName(const ::testing::TestParamInfo<Path>& aInfo)
{
    return aInfo.param == Path::Tcp ? "Tcp" : "Com";
}

class DllTest : public ::testing::Test
{
protected:
    void SetUp() override { ClearErr(); }
    void TearDown() override
    {
        if (opened)
            Q310_DLL(eClose)(0, err);
    }

    void ClearErr() { memset(err, kUntouched, sizeof(err)); }
    bool ErrUntouched() const
    {
        for (char c : err)
            if (c != kUntouched)
                return false;
        return true;
    }
    // The message and its terminator, and nothing written behind them.
    void ExpectMessage(const char* pUtf8, const std::string& aWhat)
    {
        const std::string expected = Cp1251(pUtf8);
        EXPECT_EQ(std::string(err, expected.size() + 1), expected + '\0') << aWhat;
        EXPECT_EQ(err[expected.size() + 1], kUntouched) << aWhat;
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

    char err[256];
    bool opened = false;
    dll::Meter meter;
};

class OnBothPaths : public DllTest, public ::testing::WithParamInterface<Path>
{
protected:
    bool Tcp() const { return GetParam() == Path::Tcp; }
    bool OpenSession() { return OpenClient(Tcp() ? "TCP" : "COM", Tcp()); }
    bool OpenSilent() { return OpenMeter(Tcp() ? "TCP_SILENT" : "COM_SILENT", Tcp()); }
};

// ---- The export table ----

TEST(Exports, TheNinetyNamesResolveWithTheirUnderscoreAndNothingElseIsExported)
{
    const dll::Library& library = dll::Library::Get();
    EXPECT_EQ(library.Names().size(), 90u);
    for (const std::string& problem : library.Problems())
        ADD_FAILURE() << problem;
    // The plain names are not in the table: a host must ask for "_eOpen".
    EXPECT_EQ(GetProcAddress(library.Module(), "eOpen"), nullptr);
    EXPECT_EQ(GetProcAddress(library.Module(), "eReadFrequency"), nullptr);

    // The export directory of the loaded image holds exactly the decorated names.
    const auto* base = reinterpret_cast<const uint8_t*>(library.Module());
    const auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
    const auto* nt = reinterpret_cast<const IMAGE_NT_HEADERS32*>(base + dos->e_lfanew);
    const IMAGE_DATA_DIRECTORY& entry = nt->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT];
    ASSERT_NE(entry.VirtualAddress, 0u);
    const auto* directory = reinterpret_cast<const IMAGE_EXPORT_DIRECTORY*>(base + entry.VirtualAddress);
    const auto* names = reinterpret_cast<const DWORD*>(base + directory->AddressOfNames);
    std::set<std::string> exported;
    for (DWORD i = 0; i < directory->NumberOfNames; ++i)
        exported.insert(reinterpret_cast<const char*>(base + names[i]));
    std::set<std::string> expected;
    for (const std::string& name : library.Names())
        expected.insert("_" + name);
    EXPECT_EQ(exported, expected);
    EXPECT_EQ(directory->NumberOfFunctions, 90u);
}

// ---- Session ----

TEST_F(DllTest, SessionArgumentsAndRefusedOpens)
{
    EXPECT_EQ(Q310_DLL(eOpen)(1, nullptr, kTimeOuts, err), kBad);
    EXPECT_EQ(Q310_DLL(eOpen)(1, kMode, nullptr, err), kBad);
    EXPECT_EQ(Q310_DLL(eOpen)(1, kMode, kTimeOuts, nullptr), kBad);
    EXPECT_EQ(Q310_DLL(eTcpOpen)(1, nullptr, 0, 300, err), kBad);
    EXPECT_EQ(Q310_DLL(eTcpOpen)(1, "127.0.0.1", 0, 300, nullptr), kBad);
    EXPECT_EQ(Q310_DLL(eClose)(0, nullptr), kBad);
    EXPECT_TRUE(ErrUntouched());

    // A COM number with no device behind it.
    opened = true;
    EXPECT_EQ(Q310_DLL(eOpen)(199, kMode, kTimeOuts, err), 0);
    ExpectMessage("Запрос на открытие канала связи со счетчиком: Ошибка.", "eOpen COM199");
    EXPECT_EQ(Q310_DLL(eClose)(0, err), 1);
    // Empty and blank mode texts are refused, on a port that exists.
    const dll::Meter com = dll::MeterFromEnv("COM");
    for (const char* mode : {"", "   "})
    {
        ClearErr();
        EXPECT_EQ(Q310_DLL(eOpen)(com.port, mode, kTimeOuts, err), 0) << '"' << mode << '"';
        ExpectMessage("Запрос на открытие канала связи со счетчиком: Ошибка.", "blank mode");
        EXPECT_EQ(Q310_DLL(eClose)(0, err), 1);
    }
    // Nothing listens on port 1 of the loopback.
    ClearErr();
    EXPECT_EQ(Q310_DLL(eTcpOpen)(1, "127.0.0.1", 0, 300, err), 0);
    ExpectMessage("Запрос на открытие TCP/IP сокета: Ошибка.", "eTcpOpen port 1");
    EXPECT_EQ(Q310_DLL(eClose)(0, err), 1);
}

TEST_F(DllTest, EchoingLineThroughTheRs485Variant)
{
    ASSERT_TRUE(OpenMeter("COM_ECHO", false));
    EXPECT_EQ(Q310_DLL(eSetEchoFlag)(1), 0); // 0 in every case
    char text[32] = {};
    ASSERT_EQ(Q310_DLL(eReadSerialNumber)(1, text, err), 1);
    EXPECT_STREQ(text, "21000417");
    const Bytes sent = Sent([&] { ASSERT_EQ(Q310_DLL(eReadFrequency)(0, text, err), 1); });
    EXPECT_STREQ(text, "50.01");
    EXPECT_EQ(sent, Frame({0x81}));
    EXPECT_EQ(Q310_DLL(eSetGSMFlag)(5), 1); // no such mode: nothing changes
    ASSERT_EQ(Q310_DLL(eReadFrequency)(0, text, err), 1);
    EXPECT_TRUE(ErrUntouched());
}

TEST_F(DllTest, GsmModemDataCall)
{
    ASSERT_TRUE(OpenMeter("COM_MODEM", false));
    // The client's time-outs come from eReadSerialNumber; the modem in command mode does not answer
    // meter frames, so this one fails with its message.
    char text[32] = {};
    EXPECT_EQ(Q310_DLL(eReadSerialNumber)(1, text, err), 0);
    ExpectMessage("Запрос на чтение серийного номера: Нет ответа.", "serial number in command mode");

    ClearErr();
    EXPECT_EQ(Sent([&] { EXPECT_EQ(Q310_DLL(eWriteATZtoGSM)(err), 1); }), dll::Ascii("ATZ\r"));
    EXPECT_EQ(Sent([&] { EXPECT_EQ(Q310_DLL(eSetEchoMode)(1, err), 1); }), dll::Ascii("ATE1\rAT&W\r"));
    EXPECT_EQ(Sent([&] { EXPECT_EQ(Q310_DLL(eWriteATCBSTtoGSM)("71,0,1", 6, err), 1); }),
              dll::Ascii("AT+CBST=71,0,1\r"));
    EXPECT_EQ(Sent([&] { EXPECT_EQ(Q310_DLL(eWriteATD2toGSM)(err), 1); }), dll::Ascii("AT&D2\r"));
    EXPECT_EQ(Sent([&] { EXPECT_EQ(Q310_DLL(eWriteATS7toGSM)(err), 1); }), dll::Ascii("ATS7=60\r"));
    // Too long a number: 0 at once, no text, nothing sent.
    EXPECT_EQ(Sent([&] { EXPECT_EQ(Q310_DLL(eWriteATDtoGSM)("1234567890123", 13, 5, err), 0); }), Bytes{});
    EXPECT_TRUE(ErrUntouched());

    EXPECT_EQ(Sent([&] { ASSERT_EQ(Q310_DLL(eWriteATDtoGSM)("5550100", 7, 5, err), 1); }),
              dll::Ascii("ATD5550100\r"));
    // In the call the modem echoes every request; the GSM variant removes the echo.
    ASSERT_EQ(Q310_DLL(eSetGSMFlag)(1), 1);
    ASSERT_EQ(Q310_DLL(eReadSerialNumber)(1, text, err), 1);
    EXPECT_STREQ(text, "21000417");
    EXPECT_EQ(Sent([&] { ASSERT_EQ(Q310_DLL(eReadFrequency)(0, text, err), 1); }), Frame({0x81}));
    EXPECT_STREQ(text, "50.01");

    EXPECT_EQ(Sent([&] { EXPECT_EQ(Q310_DLL(eDisconnectGSM)(err), 1); }), dll::Ascii("+++ATH\r"));
    // Back on the plain channel and in command mode.
    EXPECT_EQ(Q310_DLL(eWriteATZtoGSM)(err), 1);
    EXPECT_TRUE(ErrUntouched());
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

// ---- Measurement reads ----

TEST_P(OnBothPaths, IdentityAndNetworkValues)
{
    ASSERT_TRUE(OpenSession());
    char a[64] = {}, b[64] = {}, c[64] = {};
    ASSERT_EQ(Q310_DLL(eReadVoltageCurrentPower)(0, a, b, c, err), 1);
    EXPECT_STREQ(a, "230.1");
    EXPECT_STREQ(b, "5.23");
    EXPECT_STREQ(c, "1180");
    EXPECT_EQ(Sent([&] { ASSERT_EQ(Q310_DLL(eReadFrequency)(0, a, err), 1); }), Frame({0x81}));
    EXPECT_STREQ(a, "50.01");
    EXPECT_EQ(Sent([&] { ASSERT_EQ(Q310_DLL(eReadCurrentPower_Q316)(0, a, err), 1); }), Frame({0x86, 0x00}));
    EXPECT_STREQ(a, "123");
    ASSERT_EQ(Q310_DLL(eReadCOS_Q316)(0, a, err), 1);
    EXPECT_STREQ(a, "8985000450");
    ASSERT_EQ(Q310_DLL(eReadSoftVersion)(0, a, b, err), 1);
    EXPECT_STREQ(a, "2.14");
    EXPECT_STREQ(b, "00201105");
    ASSERT_EQ(Q310_DLL(eReadIdentPo)(0, a, err), 1);
    EXPECT_STREQ(a, "90.60");
    ASSERT_EQ(Q310_DLL(eReadOutputDate)(0, a, err), 1);
    EXPECT_STREQ(a, "07.06.22");
    ASSERT_EQ(Q310_DLL(eReadRunningTime)(0, a, b, err), 1);
    EXPECT_STREQ(a, "12345");
    EXPECT_STREQ(b, "12001");
    ASSERT_EQ(Q310_DLL(eReadVoltageLiBattery)(0, a, err), 1);
    EXPECT_STREQ(a, "3.61");
    EXPECT_TRUE(ErrUntouched());
}

TEST_P(OnBothPaths, StatusWordsAndTheConfigurationRequest)
{
    ASSERT_TRUE(OpenSession());
    uint32_t x = 99, y = 99;
    ASSERT_EQ(Q310_DLL(eReadTypeState)(0, &x, &y, err), 1);
    EXPECT_EQ(x, 8u);
    EXPECT_EQ(y, 2u);
    ASSERT_EQ(Q310_DLL(eReadVariantExecution)(0, &x, &y, err), 1);
    EXPECT_EQ(x, 0u); // power option
    EXPECT_EQ(y, 1u); // relay
    uint32_t cdd[8] = {};
    const Bytes sent = Sent(
        [&]
        {
            ASSERT_EQ(Q310_DLL(eReadPLC1Config)(0, 1, 2, 3, 4, 5, 6, 7, 0x1FF, &cdd[0], &cdd[1], &cdd[2],
                                                &cdd[3], &cdd[4], &cdd[5], &cdd[6], &cdd[7], err),
                      1);
        });
    // The eight request bytes go out in argument order, each its low byte.
    EXPECT_EQ(sent, Frame({0x79, 1, 2, 3, 4, 5, 6, 7, 0xFF}));
    for (uint32_t i = 0; i < 8; ++i)
        EXPECT_EQ(cdd[i], 0x11u * (i + 1)) << i;
    EXPECT_TRUE(ErrUntouched());
}

TEST_P(OnBothPaths, EnergiesDividedByTen)
{
    ASSERT_TRUE(OpenSession());
    uint32_t r[4] = {};
    EXPECT_EQ(Sent([&] { ASSERT_EQ(Q310_DLL(eReadStorageBattery)(0, &r[0], &r[1], &r[2], &r[3], err), 1); }),
              Frame({0x27}));
    EXPECT_EQ(r[0], 1234567u);
    EXPECT_EQ(r[1], 456789u);
    EXPECT_EQ(r[2], 0u);
    EXPECT_EQ(r[3], 0u);
    ASSERT_EQ(Q310_DLL(eReadStorageBattery_Q316)(0, &r[0], &r[1], &r[2], &r[3], err), 1);
    EXPECT_EQ(r[0], 234567u);
    EXPECT_EQ(r[1], 56789u);
    EXPECT_EQ(Sent([&] { ASSERT_EQ(Q310_DLL(eReadMonthEnergy)(0, 3, &r[0], &r[1], &r[2], &r[3], err), 1); }),
              Frame({0x32, 0x03}));
    EXPECT_EQ(r[0], 100019u);
    EXPECT_EQ(r[1], 20029u);
    EXPECT_EQ(r[2], 39u);
    EXPECT_EQ(r[3], 0u);
    ASSERT_EQ(Q310_DLL(eReadMonthEnergy_Q316)(0, 3, &r[0], &r[1], &r[2], &r[3], err), 1);
    EXPECT_EQ(r[0], 5555u);
    EXPECT_EQ(r[1], 66u);
    EXPECT_EQ(r[2], 7u);
    EXPECT_EQ(r[3], 8888u);
    EXPECT_TRUE(ErrUntouched());

    // Month 12 is refused before anything is sent; the outputs stay.
    r[0] = 77;
    EXPECT_EQ(Sent([&] { EXPECT_EQ(Q310_DLL(eReadMonthEnergy)(0, 12, &r[0], &r[1], &r[2], &r[3], err), 0); }),
              Bytes{});
    ExpectMessage("Запрос на чтение реактивной энергии по месяцам: Нет ответа.", "month 12");
    EXPECT_EQ(r[0], 77u);
}

TEST_P(OnBothPaths, MaximaPrintQuotientAndPlainRemainder)
{
    ASSERT_TRUE(OpenSession());
    char d1[64], v1[64], d2[64], v2[64];
    ASSERT_EQ(Q310_DLL(eReadMaxVoltage)(0, d1, v1, d2, v2, err), 1);
    EXPECT_STREQ(d1, "04:05:06 03.02.24");
    EXPECT_STREQ(v1, " 234.5");
    EXPECT_STREQ(d2, "23:59:58 31.12.23");
    EXPECT_STREQ(v2, " 199.0");
    ASSERT_EQ(Q310_DLL(eReadMaxCurrent)(0, d1, v1, d2, v2, err), 1);
    EXPECT_STREQ(d1, "10:11:12 09.01.24");
    EXPECT_STREQ(v1, "   7.5");
    EXPECT_STREQ(d2, "00:00:01 10.01.24");
    EXPECT_STREQ(v2, "  12.5");
    EXPECT_EQ(Sent([&] { ASSERT_EQ(Q310_DLL(eReadMaxPower)(0, d1, v1, d2, v2, err), 1); }),
              Frame({0x33, 0x02}));
    EXPECT_STREQ(d1, "07:30:00 01.03.24");
    EXPECT_STREQ(v1, "  12.50");
    EXPECT_STREQ(v2, "  99.99");
    EXPECT_TRUE(ErrUntouched());
}

TEST_P(OnBothPaths, ClockAndEventTimes)
{
    ASSERT_TRUE(OpenSession());
    char t[64], d[64], w[64];
    memset(w, 'x', sizeof(w));
    ASSERT_EQ(Q310_DLL(eReadCurrentTime)(0, t, d, w, err), 1);
    EXPECT_STREQ(t, "12:00:00");
    EXPECT_STREQ(d, "15.03.24");
    // "Пятница" copied as 12 bytes, the rest of the buffer untouched.
    EXPECT_EQ(std::string(w, 12), Cp1251("Пятница") + std::string(5, '\0'));
    EXPECT_EQ(w[12], 'x');

    const struct
    {
        uint32_t event;
        uint8_t command;
        const char* time;
        const char* date;
    } events[] = {{43, 0x2B, "22:01:02", "14.03.2024"},
                  {44, 0x2C, "22:03:04", "14.03.2024"},
                  {97, 0x61, "03:04:05", "02.01.2023"},
                  {98, 0x62, "03:14:15", "02.01.2023"}};
    for (const auto& e : events)
    {
        EXPECT_EQ(Sent([&] { ASSERT_EQ(Q310_DLL(eReadTimeOnOff)(0, e.event, t, d, err), 1); }),
                  Frame({e.command}))
            << e.event;
        EXPECT_STREQ(t, e.time);
        EXPECT_STREQ(d, e.date);
    }
    // Any other event: success, nothing sent, nothing written.
    strcpy(t, "keep");
    strcpy(d, "keep");
    EXPECT_EQ(Sent([&] { EXPECT_EQ(Q310_DLL(eReadTimeOnOff)(0, 0, t, d, err), 1); }), Bytes{});
    EXPECT_STREQ(t, "keep");
    EXPECT_STREQ(d, "keep");
    EXPECT_TRUE(ErrUntouched());
}

// ---- Settings ----

TEST_P(OnBothPaths, SettingsWritesSendTheirFramesAndReadBack)
{
    ASSERT_TRUE(OpenSession());
    char rate[8] = "xxxxxxx";
    uint32_t power = 9, time = 9, date = 9;
    EXPECT_EQ(Sent([&] { ASSERT_EQ(Q310_DLL(eWriteParamDisplay)(0, "11111", 1, 1, 1, err), 1); }),
              Frame({0x09, 0xFF}));
    ASSERT_EQ(Q310_DLL(eReadParamDisplay)(0, rate, &power, &time, &date, err), 1);
    EXPECT_STREQ(rate, "11111");
    EXPECT_EQ(power + time + date, 3u);
    EXPECT_EQ(Sent([&] { ASSERT_EQ(Q310_DLL(eWriteParamDisplay)(0, "10000", 0, 0, 0, err), 1); }),
              Frame({0x09, 0x01}));
    ASSERT_EQ(Q310_DLL(eReadParamDisplay)(0, rate, &power, &time, &date, err), 1);
    EXPECT_STREQ(rate, "10000");
    EXPECT_EQ(power + time + date, 0u);

    // 1500 tenths of a kW: 15 kW and 0 tens of W.
    EXPECT_EQ(Sent([&] { ASSERT_EQ(Q310_DLL(eWritePowerLimit)(0, 1500, err), 1); }),
              Frame({0x03, 0x15, 0x00}));
    uint32_t value = 0;
    ASSERT_EQ(Q310_DLL(eReadPowerLimit)(0, &value, err), 1);
    EXPECT_EQ(value, 1500u);

    EXPECT_EQ(Sent([&] { ASSERT_EQ(Q310_DLL(eWriteReleMode)(0, 16, err), 1); }), Frame({0x71, 0x5A}));
    value = 77;
    ASSERT_EQ(Q310_DLL(eReadReleMode)(0, &value, err), 1);
    EXPECT_EQ(value, 0u);
    EXPECT_EQ(Sent([&] { ASSERT_EQ(Q310_DLL(eWriteReleMode)(0, 3, err), 1); }), Frame({0x71, 0x00}));
    EXPECT_EQ(Sent([&] { ASSERT_EQ(Q310_DLL(eWriteReleMode)(0, 2, err), 1); }), Frame({0x71, 0x55}));
    ASSERT_EQ(Q310_DLL(eReadReleMode)(0, &value, err), 1);
    EXPECT_EQ(value, 2u);

    EXPECT_EQ(
        Sent(
            [&]
            { ASSERT_EQ(Q310_DLL(eWriteEnergyRateLimit)(0, "100", "2500", "x", "999999", "1021", err), 1); }),
        Frame({0x72, 0x00, 0x01, 0x00, 0x5A, 0x00, 0x25, 0x00, 0x55, 0x00, 0x00, 0x00, 0x55, 0x99, 0x99, 0x99,
               0x5A}));
    char values[64] = {}, flags[16] = {};
    uint32_t arr = 0;
    ASSERT_EQ(Q310_DLL(eReadEnergyRateLimit)(0, values, flags, &arr, err), 1);
    EXPECT_STREQ(values, "100;2500;0;999999");
    EXPECT_STREQ(flags, "90858590");

    EXPECT_EQ(Sent([&] { ASSERT_EQ(Q310_DLL(eWriteIndicationTime)(0, 4, 5, 6, 7, err), 1); }),
              Frame({0x0D, 4, 5, 6, 7}));
    uint32_t delay[4] = {};
    ASSERT_EQ(Q310_DLL(eReadIndicationTime)(0, &delay[0], &delay[1], &delay[2], &delay[3], err), 1);
    EXPECT_EQ(delay[0] * 1000 + delay[1] * 100 + delay[2] * 10 + delay[3], 4567u);

    // The multiplier goes into exactly one byte of the host's cell.
    EXPECT_EQ(Sent([&] { ASSERT_EQ(Q310_DLL(eWriteMultMode)(0, 5, err), 1); }), Frame({0x75, 0x05}));
    uint8_t cell[2] = {0xEE, 0xEE};
    ASSERT_EQ(Q310_DLL(eReadMultMode)(0, cell, err), 1);
    EXPECT_EQ(cell[0], 5);
    EXPECT_EQ(cell[1], 0xEE);
    EXPECT_TRUE(ErrUntouched());

    // The client refuses a display delay under 4 before sending: the host sees the message.
    EXPECT_EQ(Sent([&] { EXPECT_EQ(Q310_DLL(eWriteIndicationTime)(0, 4, 3, 6, 7, err), 0); }), Bytes{});
    ExpectMessage("Запрос на запись времени индикации: Нет ответа.", "delay 3");
}

// ---- Tariff zones and holidays ----

const char* const kMonths[12] = {"Январь", "Февраль", "Март",     "Апрель",  "Май",    "Июнь",
                                 "Июль",   "Август",  "Сентябрь", "Октябрь", "Ноябрь", "Декабрь"};
const char* const kDays[8] = {"Понедельник", "Вторник", "Среда",       "Четверг",
                              "Пятница",     "Суббота", "Воскресенье", "Праздник"};

TEST_P(OnBothPaths, TariffScheduleAndHolidayTexts)
{
    ASSERT_TRUE(OpenSession());
    // The meter's default tables: T2 from 00:00, T1 from 07:00, T2 from 23:00 on every day.
    std::string expected;
    for (const char* month : kMonths)
    {
        expected += Cp1251(month) + "\n";
        for (const char* day : kDays)
            expected += "\t" + Cp1251(day) + "\n\t00:00,T2\n\t07:00,T1\n\t23:00,T2\n";
        expected += "\n";
    }
    expected += "\tEnd";
    std::vector<char> table(16733, '\0');
    ASSERT_EQ(Q310_DLL(eReadRateScale_4)(0, table.data(), err), 1);
    EXPECT_EQ(std::string(table.data()), expected);

    const std::string holidays =
        "1 " + Cp1251("января") + "\n7 " + Cp1251("января") + "\n8 " + Cp1251("марта") + "\n";
    Bytes half0{0x10, 0x01, 0x01, 0x07, 0x01, 0x08, 0x03};
    half0.resize(17, 0xFF);
    half0.push_back(0x00);
    Bytes half1{0x10};
    half1.resize(17, 0xFF);
    half1.push_back(0x01);
    EXPECT_EQ(Sent([&] { ASSERT_EQ(Q310_DLL(eWriteWeekendScale2)(0, holidays.c_str(), err), 1); }),
              dll::Concat({Frame(half0), Frame(half1)}));
    char text[512] = "";
    ASSERT_EQ(Q310_DLL(eReadWeekendScale2)(0, text, err), 1);
    EXPECT_EQ(std::string(text), holidays);

    uint32_t count = 0;
    EXPECT_EQ(Sent([&] { ASSERT_EQ(Q310_DLL(eWriteRateQuantity)(0, 4, err), 1); }), Frame({0x0A, 0x04}));
    ASSERT_EQ(Q310_DLL(eReadRateQuantity)(0, &count, err), 1);
    EXPECT_EQ(count, 4u);

    // A misspelt month name: 0, nothing sent, no message.
    std::string misspelt = expected;
    misspelt.replace(0, Cp1251("Январь").size(), Cp1251("Январъ"));
    EXPECT_EQ(Sent([&] { EXPECT_EQ(Q310_DLL(eWriteRateScale_4)(0, misspelt.c_str(), err), 0); }), Bytes{});
    EXPECT_TRUE(ErrUntouched());
}

// ---- Journals and the raw exchange ----

TEST_P(OnBothPaths, JournalLinesAndTheRawExchange)
{
    ASSERT_TRUE(OpenSession());
    char text[1024] = {};
    EXPECT_EQ(Sent([&] { ASSERT_EQ(Q310_DLL(eReadJournal)(0, 1, 0, 3, text, err), 1); }),
              dll::Concat({Frame({0x34, 0x00}), Frame({0x34, 0x01}), Frame({0x34, 0x02})}));
    EXPECT_STREQ(text, "08:05:09 14.03.2024 POWER ON\n"
                       "23:59:01 13.03.2024 POWER OFF\n");

    const Bytes request = Frame({0x81});
    uint8_t answer[64];
    uint32_t length = sizeof(answer);
    ASSERT_EQ(
        Q310_DLL(eWriteData)(0, request.data(), static_cast<uint32_t>(request.size()), answer, &length, err),
        1);
    ASSERT_EQ(length, 17u);
    EXPECT_EQ(Bytes(answer, answer + 7), (Bytes{0x00, 0x00, 0x00, 0x01, 0x81, 0x50, 0x01}));
    EXPECT_EQ(dll::Crc16(Bytes(answer, answer + 15)), answer[15] | (answer[16] << 8));
    EXPECT_TRUE(ErrUntouched());
}

// ---- A silent meter ----

TEST_P(OnBothPaths, SilentMeterGivesTheFixedMessages)
{
    ASSERT_TRUE(OpenSilent());
    char a[64], b[64], c[64], d[64];
    uint32_t u[4];
    // The client is created even when the serial number does not come.
    EXPECT_EQ(Q310_DLL(eReadSerialNumber)(1, a, err), 0);
    ExpectMessage("Запрос на чтение серийного номера: Нет ответа.", "eReadSerialNumber");

    // A silent meter gets each request once more.
    ClearErr();
    EXPECT_EQ(Sent([&] { EXPECT_EQ(Q310_DLL(eReadFrequency)(0, a, err), 0); }),
              dll::Concat({Frame({0x81}), Frame({0x81})}));
    ExpectMessage("Запрос на чтение частоты сети: Нет ответа.", "eReadFrequency");

    const struct
    {
        const char* name;
        std::function<int32_t()> call;
        const char* message;
    } cases[] = {
        {"eReadVoltageCurrentPower", [&] { return Q310_DLL(eReadVoltageCurrentPower)(0, a, b, c, err); },
         "Запрос на чтение напряжения тока и мощности: Нет ответа."},
        {"eReadStorageBattery",
         [&] { return Q310_DLL(eReadStorageBattery)(0, &u[0], &u[1], &u[2], &u[3], err); },
         "Запрос на чтение энергии от сброса по тарифам: Нет ответа."},
        {"eReadMaxCurrent", [&] { return Q310_DLL(eReadMaxCurrent)(0, a, b, c, d, err); },
         "Запрос на чтение максимума тока: Нет ответа."},
        {"eReadSoftVersion", [&] { return Q310_DLL(eReadSoftVersion)(0, a, b, err); },
         "Запрос на чтение версии ПО: Нет ответа."},
        {"eReadRunningTime", [&] { return Q310_DLL(eReadRunningTime)(0, a, b, err); },
         "Запрос на чтение времени работы счетчика/батарейки: Нет ответа."},
        {"eReadTypeState", [&] { return Q310_DLL(eReadTypeState)(0, &u[0], &u[1], err); },
         "Запрос на чтение типа однофазного счетчика и варианта исполнения: Нет ответа."},
        {"eReadCurrentTime", [&] { return Q310_DLL(eReadCurrentTime)(0, a, b, c, err); },
         "Запрос на чтение текущего времени: Нет ответа."},
        {"eReadTimeOnOff", [&] { return Q310_DLL(eReadTimeOnOff)(0, 43, a, b, err); },
         "Запрос на чтение журнала событий вкл./выкл. и откр./закр. : Нет ответа."},
        {"eReadSeasonFlag", [&] { return Q310_DLL(eReadSeasonFlag)(0, &u[0], err); },
         "Запрос на чтение флага перехода зима-лето: Нет ответа."},
        {"eReadReleMode_2a", [&] { return Q310_DLL(eReadReleMode_2a)(0, &u[0], err); },
         "Запрос на чтение режима работы реле нагрузки: Нет ответа."},
        {"eReadRateQuantity", [&] { return Q310_DLL(eReadRateQuantity)(0, &u[0], err); },
         "Запрос на чтение количества тарифов: Нет ответа."},
        {"eReadWeekendScale2", [&] { return Q310_DLL(eReadWeekendScale2)(0, a, err); },
         "Запрос на чтение расписания праздничных дней: Нет ответа."},
        {"eReadJournal", [&] { return Q310_DLL(eReadJournal)(0, 1, 0, 1, a, err); },
         "Запрос на чтение журнала событий: Нет ответа."},
    };
    // The messages do not depend on the path: the whole list over TCP, its start over the COM port (each
    // silent request costs two answer time-outs).
    const size_t count = Tcp() ? std::size(cases) : 3;
    for (size_t i = 0; i < count; ++i)
    {
        const auto& entry = cases[i];
        ClearErr();
        a[0] = '\0';
        EXPECT_EQ(entry.call(), 0) << entry.name;
        ExpectMessage(entry.message, entry.name);
    }

    // The documented exceptions: the voltage maxima never fail and print the empty record; the raw
    // reads whose answer length fails hand back the status without a message.
    ClearErr();
    EXPECT_EQ(Q310_DLL(eReadMaxVoltage)(0, a, b, c, d, err), 1);
    EXPECT_STREQ(a, "00:00:00 00.00.00");
    EXPECT_STREQ(b, "   0.0");
    EXPECT_EQ(Q310_DLL(eReadCurrentPower_Q316)(0, a, err), kUnknownResponse);
    EXPECT_EQ(Q310_DLL(eReadVariantExecution)(0, &u[0], &u[1], err), kUnknownResponse);
    // A write has no answer length to check.
    EXPECT_EQ(Q310_DLL(eWriteSeasonFlag)(0, 1, err), 1);
    EXPECT_TRUE(ErrUntouched());
}

// ---- Null pointers ----

TEST_P(OnBothPaths, NullPointersGiveInvalidArgumentAndSendNothing)
{
    ASSERT_TRUE(OpenSession());
    char t[64];
    uint32_t u = 0;
    uint8_t bytes[4] = {};
    char* n = nullptr;
    uint32_t* un = nullptr;
    const Bytes sent = Sent(
        [&]
        {
            EXPECT_EQ(Q310_DLL(eReadSerialNumber)(1, n, err), kBad);
            EXPECT_EQ(Q310_DLL(eReadSerialNumber)(1, t, n), kBad);
            EXPECT_EQ(Q310_DLL(eReadVoltageCurrentPower)(0, t, t, n, err), kBad);
            EXPECT_EQ(Q310_DLL(eReadFrequency)(0, n, err), kBad);
            EXPECT_EQ(Q310_DLL(eReadFrequency)(0, t, n), kBad);
            EXPECT_EQ(Q310_DLL(eReadStorageBattery)(0, &u, &u, &u, un, err), kBad);
            EXPECT_EQ(Q310_DLL(eReadMonthEnergy_Q316)(0, 1, &u, &u, &u, &u, n), kBad);
            EXPECT_EQ(Q310_DLL(eReadMaxVoltage)(0, t, n, t, t, err), kBad);
            EXPECT_EQ(
                Q310_DLL(eReadPLC1Config)(0, 0, 0, 0, 0, 0, 0, 0, 0, &u, &u, &u, &u, &u, &u, &u, un, err),
                kBad);
            EXPECT_EQ(Q310_DLL(eReadTimeOnOff)(0, 43, t, n, err), kBad);
            EXPECT_EQ(Q310_DLL(eReadParamDisplay)(0, nullptr, &u, &u, &u, err), kBad);
            EXPECT_EQ(Q310_DLL(eWriteParamDisplay)(0, nullptr, 0, 0, 0, err), kBad);
            EXPECT_EQ(Q310_DLL(eWritePowerLimit)(0, 1, n), kBad);
            EXPECT_EQ(Q310_DLL(eWriteEnergyRateLimit)(0, "1", "2", nullptr, "4", "1111", err), kBad);
            EXPECT_EQ(Q310_DLL(eResetDeviceBat)(0, n), kBad);
            EXPECT_EQ(Q310_DLL(eReadRateScale_4)(0, n, err), kBad);
            EXPECT_EQ(Q310_DLL(eWriteWeekendScale2)(0, n, err), kBad);
            EXPECT_EQ(Q310_DLL(eReadModeTariffProfile)(0, &u, un), kBad);
            EXPECT_EQ(Q310_DLL(eReadRateScale)(0, nullptr, err), kBad);
            EXPECT_EQ(Q310_DLL(eReadJournal)(0, 1, 0, 1, n, err), kBad);
            EXPECT_EQ(Q310_DLL(eReadSecPowerProfile_22)(0, 14, 3, 2024, un, err), kBad);
            EXPECT_EQ(Q310_DLL(eWriteData)(0, bytes, 1, bytes, nullptr, err), kBad);
            EXPECT_EQ(Q310_DLL(eWriteATZtoGSM)(n), kBad);
            EXPECT_EQ(Q310_DLL(eWriteATDtoGSM)(nullptr, 7, 5, err), kBad);
        });
    EXPECT_EQ(sent, Bytes{});
    EXPECT_TRUE(ErrUntouched());
}

INSTANTIATE_TEST_SUITE_P(Paths, OnBothPaths, ::testing::Values(Path::Tcp, Path::Com), PathName);

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
