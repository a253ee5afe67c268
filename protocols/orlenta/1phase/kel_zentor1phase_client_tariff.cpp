// Client commands of the single-phase meter: the whole tariff schedule, written to and read from the
// meter through the transfer of kel_zentor1phase_tariff.
#define KEL_TRACE_FILE "protocols/orlenta/1phase/kel_zentor1phase_client_tariff"
#include "protocols/orlenta/1phase/kel_zentor1phase_tariff.h"

#include "shared/kel_trace.h"

Kel_StatusCode Kel_Zentor1Phase_Client_WriteTariffSchedule(Kel_Zentor1Phase_ClientContext* pContext,
                                                           const ScheduleParams* pTariffSchedule)
{
    KEL_ENTER(Kel_Module_ZentorProtocolClient);
    KEL_REJECT_NULL(pContext);
    KEL_REJECT_NULL(pTariffSchedule);
    Kel_StatusCode status = Kel_Good;
    KEL_GOTO_IF_BAD(status, Kel_Zentor1Phase_Tariff_WriteTariffSchedule(pContext, pTariffSchedule));
    KEL_EXIT(status);
}

Kel_StatusCode Kel_Zentor1Phase_Client_ReadTariffSchedule(Kel_Zentor1Phase_ClientContext* pContext,
                                                          ScheduleParams* pTariffSchedule)
{
    KEL_ENTER(Kel_Module_ZentorProtocolClient);
    KEL_REJECT_NULL(pContext);
    KEL_REJECT_NULL(pTariffSchedule);
    Kel_StatusCode status = Kel_Good;
    KEL_GOTO_IF_BAD(status, Kel_Zentor1Phase_Tariff_ReadTariffSchedule(pContext, pTariffSchedule));
    KEL_EXIT(status);
}
