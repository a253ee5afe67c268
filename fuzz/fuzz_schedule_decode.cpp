// The binary schedule decoder over arbitrary bytes. A record read whole must come out again as the
// same bytes when encoded.
#include "protocols/shared/kel_energyshared_schedule.h"
#include "shared/kel_memory.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size > 4096)
        return 0;
    // An exactly sized copy, so that a read past the end is caught.
    uint8_t* bytes = new uint8_t[size == 0 ? 1 : size];
    memcpy(bytes, data, size);
    Kel_Memory_Context memory{};
    Kel_Memory_CreateContext(&memory, bytes, static_cast<int32_t>(size));
    uint32_t index = 0;
    ScheduleParams schedule;
    const Kel_StatusCode status = Kel_EnergyShared_Schedule_DataToScheduleParams(&memory, &index, &schedule);
    if (index > size)
        __builtin_trap();
    if (schedule.SeasonsCount > KEL_ENERGYSHARED_SCHEDULE_SEASONS_MAX ||
        schedule.WeeksCount > KEL_ENERGYSHARED_SCHEDULE_WEEKS_MAX ||
        schedule.DaysCount > KEL_ENERGYSHARED_SCHEDULE_DAYS_MAX ||
        schedule.SpecialDaysCount > KEL_ENERGYSHARED_SCHEDULE_SPECIALDAYS_MAX)
        __builtin_trap();
    if (status == Kel_Good)
    {
        uint8_t encoded[sizeof(ScheduleParams)];
        Kel_Memory_Context out{};
        Kel_Memory_CreateContext(&out, encoded, static_cast<int32_t>(sizeof(encoded)));
        uint32_t outIndex = 0;
        if (Kel_EnergyShared_Schedule_ScheduleParamsToData(&schedule, &out, &outIndex) != Kel_Good ||
            outIndex != index || memcmp(encoded, bytes, index) != 0)
            __builtin_trap();
        // The lookups over whatever was read stay inside the record.
        const ScheduleDay* day = nullptr;
        Kel_EnergyShared_Schedule_GetValue(&schedule, 3, 15, 2, 10, 30, &day);
        Kel_EnergyShared_Schedule_VerifySchedule(&schedule, 8, 1, 8);
        Kel_EnergyShared_Schedule_Shrink(&schedule);
    }
    delete[] bytes;
    return 0;
}
