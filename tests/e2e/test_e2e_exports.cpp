// The exports end to end against the in-process simulator over a pseudo-terminal and over TCP: the
// cases shared with the DLL host (e2e_cases.h) on the meter of tests/dll/meter.json, then what only
// the linked library shows: the weekday names of every day and the reset of the maxima.
#include "e2e/e2e_support.h"
#include "zentor_sim/state_json.h"

#include <fstream>

#define HOST_CALL(name) (&::name)

namespace
{
class HostTest : public e2e::SessionTest
{
protected:
    void SetUp() override
    {
        e2e::SessionTest::SetUp();
        zentor_sim::LoadStateFile(Meter(), Q310_METER_JSON);
    }
    bool Tcp() const { return GetParam() == e2e::Path::Tcp; }
    int32_t MeterCom()
    {
        StartOnce();
        return e2e::kComNumber;
    }
    // The path's meter behind aLine, opened without a client; the modem has the dial plan of
    // tests/dll/dial_plan.txt.
    bool OpenLine(host::Line aLine)
    {
        if (opened)
            eClose(0, err);
        {
            auto lock = simulator->Lock();
            static const zentor_sim::LineMode kModes[] = {
                zentor_sim::LineMode::Plain, zentor_sim::LineMode::Echo, zentor_sim::LineMode::Modem,
                zentor_sim::LineMode::Gateway};
            simulator->Line().SetMode(kModes[static_cast<int>(aLine)]);
            simulator->Line().Modem().dialStepMs = 100;
            std::ifstream plan(Q310_DIAL_PLAN);
            for (std::string entry; std::getline(plan, entry);)
                EXPECT_TRUE(zentor_sim::AddDialScript(entry, simulator->Line().Modem())) << entry;
        }
        return OpenPath();
    }
    bool OpenSilent()
    {
        Silence();
        return OpenPath();
    }
};
} // namespace

#include "e2e/e2e_cases.h"

namespace
{
TEST(ExportList, IsTheListOfTheLibrary)
{
    std::ifstream in(Q310_EXPORTS_TXT);
    std::vector<std::string> names;
    for (std::string name; in >> name;)
        names.push_back(name);
    EXPECT_EQ(names, host::ExportNames());
}

TEST_P(HostTest, WeekdayNamesAndTheResetOfMaxima)
{
    const char* names[7] = {"Понедельник", "Вторник", "Среда",      "Четверг",
                            "Пятница",     "Суббота", "Воскресенье"};
    ASSERT_TRUE(OpenSession());
    char t[64], d[64], w[64];
    // 2024-03-11 is a Monday.
    for (int day = 0; day < 7; ++day)
    {
        {
            auto lock = simulator->Lock();
            Meter().State().clockFrozen =
                zentor_sim::ToSeconds(zentor_sim::Civil{2024, 3, 11 + day, 8, 0, 0});
        }
        ASSERT_EQ(eReadCurrentTime(0, t, d, w, err), 1);
        EXPECT_EQ(std::string(w), Cp1251(names[day])) << day;
    }
    ASSERT_EQ(eResertMaxParam(0, 7, 1, err), 1);
    auto lock = simulator->Lock();
    EXPECT_EQ(Meter().State().maxima[1][0].value, 0);
}

INSTANTIATE_TEST_SUITE_P(Paths, HostTest, e2e::kBothPaths, e2e::PathName);
} // namespace
