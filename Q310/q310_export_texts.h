// The host's messages of the exports, in one place: UTF-8 here, Windows-1251 in the library (converted
// at compile time). Each is written into the host's outErr when its request fails.
#pragma once

#include "shared/kel_cp1251.h"

// GSM modem
inline constexpr auto kDisconnectText = Kel_Cp1251("Запрос на разрыв GSM соединения: Нет ответа.");
inline constexpr auto kEchoText = Kel_Cp1251("Запрос на запись AT команды ECHO: Нет ответа.");
inline constexpr auto kAtzText = Kel_Cp1251("Запрос на запись AT команды ATZ: Нет ответа.");
inline constexpr auto kCbstText = Kel_Cp1251("Запрос на запись AT команды AT+CBST: Нет ответа.");
inline constexpr auto kAtd2Text = Kel_Cp1251("Запрос на запись AT команды AT&D2: Нет ответа.");
inline constexpr auto kAts7Text = Kel_Cp1251("Запрос на запись AT команды ATS7=60: Нет ответа.");
inline constexpr auto kDialText = Kel_Cp1251("Дозвон по GSM каналу CSD режим: ошибка ");
inline constexpr auto kGatewayText = Kel_Cp1251("Запрос на запись режима GSM: Нет ответа.");

// Journals, profiles, raw exchange
inline constexpr auto kReadJournal = Kel_Cp1251("Запрос на чтение журнала событий: Нет ответа.");
inline constexpr auto kReadPke = Kel_Cp1251("Запрос на чтение журнала качества электроэнергии: Нет ответа.");
inline constexpr auto kReadProfile = Kel_Cp1251("Запрос на чтение профиля мощности: Нет ответа.");
inline constexpr auto kWriteData = Kel_Cp1251("Запрос на передачу данных: Нет ответа.");

// Measurement reads
inline constexpr auto kSerialText = Kel_Cp1251("Запрос на чтение серийного номера: Нет ответа.");
inline constexpr auto kUipText = Kel_Cp1251("Запрос на чтение напряжения тока и мощности: Нет ответа.");
inline constexpr auto kFrequencyText = Kel_Cp1251("Запрос на чтение частоты сети: Нет ответа.");
inline constexpr auto kPowerQ316Text =
    Kel_Cp1251("Запрос на чтение потребляемой реактивной мощности: Нет ответа.");
inline constexpr auto kCosText = Kel_Cp1251("Запрос на чтение коэффициента мощности: Нет ответа.");
inline constexpr auto kEnergyText = Kel_Cp1251("Запрос на чтение энергии от сброса по тарифам: Нет ответа.");
inline constexpr auto kEnergyQ316Text =
    Kel_Cp1251("Запрос на чтение реактивной энергии от сброса: Нет ответа.");
// Both month reads carry the same text.
inline constexpr auto kMonthText = Kel_Cp1251("Запрос на чтение реактивной энергии по месяцам: Нет ответа.");
inline constexpr auto kMaxCurrentText = Kel_Cp1251("Запрос на чтение максимума тока: Нет ответа.");
inline constexpr auto kMaxPowerText = Kel_Cp1251("Запрос на чтение максимума мощности: Нет ответа.");
inline constexpr auto kResetMaxText = Kel_Cp1251("Запрос на сброс максимумов: Нет ответа.");
inline constexpr auto kSoftVersionText = Kel_Cp1251("Запрос на чтение версии ПО: Нет ответа.");
inline constexpr auto kIdentPoText = Kel_Cp1251("Запрос на чтение идентификатора ПО: Нет ответа.");
inline constexpr auto kOutputDateText = Kel_Cp1251("Запрос на чтение даты изготовления: Нет ответа.");
inline constexpr auto kRunningTimeText =
    Kel_Cp1251("Запрос на чтение времени работы счетчика/батарейки: Нет ответа.");
inline constexpr auto kBatteryText = Kel_Cp1251("Запрос на чтение напряжения на батарейке: Нет ответа.");
inline constexpr auto kTypeStateText =
    Kel_Cp1251("Запрос на чтение типа однофазного счетчика и варианта исполнения: Нет ответа.");
inline constexpr auto kVariantText = Kel_Cp1251("Запрос на чтение варианта исполнения: Нет ответа.");
inline constexpr auto kPlcText = Kel_Cp1251("Запрос на чтение PLC-I: Нет ответа.");
inline constexpr auto kCurrentTimeText = Kel_Cp1251("Запрос на чтение текущего времени: Нет ответа.");
inline constexpr auto kTimeOnOffText =
    Kel_Cp1251("Запрос на чтение журнала событий вкл./выкл. и откр./закр. : Нет ответа.");

// Session
inline constexpr auto kOpenText = Kel_Cp1251("Запрос на открытие канала связи со счетчиком: Ошибка.");
inline constexpr auto kTcpOpenText = Kel_Cp1251("Запрос на открытие TCP/IP сокета: Ошибка.");

// Settings
inline constexpr auto kReadParamDisplay =
    Kel_Cp1251("Запрос на чтение параметров индикации дисплея: Нет ответа.");
inline constexpr auto kWriteParamDisplay = Kel_Cp1251("Запрос на запись параметров индикации: Нет ответа.");
inline constexpr auto kReadAddParamDisplay =
    Kel_Cp1251("Запрос на чтение дополнительных параметров индикации: Нет ответа.");
inline constexpr auto kWriteAddParamDisplay =
    Kel_Cp1251("Запрос на запись дополнительных параметров индикации: Нет ответа.");
inline constexpr auto kReadIndicationTime = Kel_Cp1251("Запрос на чтение времени индикации: Нет ответа.");
inline constexpr auto kWriteIndicationTime = Kel_Cp1251("Запрос на запись времени индикации: Нет ответа.");
inline constexpr auto kSynchronizeTime = Kel_Cp1251("Запрос на синхронизацию времени: Нет ответа.");
inline constexpr auto kReadPowerLimit = Kel_Cp1251("Запрос на чтение лимита мощности: Нет ответа.");
inline constexpr auto kWritePowerLimit = Kel_Cp1251("Запрос на запись лимита мощности: Нет ответа.");
inline constexpr auto kReadPowerLimitMode =
    Kel_Cp1251("Запрос на чтение режима лимита мощности: Нет ответа.");
inline constexpr auto kWritePowerLimitMode =
    Kel_Cp1251("Запрос на запись режима лимита мощности: Нет ответа.");
inline constexpr auto kReadEnergyRateLimit = Kel_Cp1251("Запрос на чтение лимита энергии: Нет ответа.");
inline constexpr auto kWriteEnergyRateLimit = Kel_Cp1251("Запрос на запись лимита энергии: Нет ответа.");
inline constexpr auto kReadReleMode = Kel_Cp1251("Запрос на чтение режима работы реле нагрузки: Нет ответа.");
inline constexpr auto kWriteReleMode =
    Kel_Cp1251("Запрос на запись режима работы реле нагрузки: Нет ответа.");
inline constexpr auto kWriteAddress = Kel_Cp1251("Запрос на запись сетевого адреса: Нет ответа.");
inline constexpr auto kReadMultMode = Kel_Cp1251("Запрос на чтение множителя таймаута: Нет ответа.");
inline constexpr auto kResetDeviceBat = Kel_Cp1251("Запрос на сброс времени работы батарейки: Нет ответа.");

// Tariff zones and holidays
inline constexpr auto kReadRateScale = Kel_Cp1251("Запрос на чтение тарифного расписания: Нет ответа.");
inline constexpr auto kWriteRateScale = Kel_Cp1251("Запрос на запись тарифного расписания: Нет ответа.");
inline constexpr auto kWriteWeekendScale =
    Kel_Cp1251("Запрос на запись расписания праздничных дней: Нет ответа.");
inline constexpr auto kReadWeekendScale =
    Kel_Cp1251("Запрос на чтение расписания праздничных дней: Нет ответа.");
inline constexpr auto kWriteTSFast = Kel_Cp1251("Запрос на быструю запись тарифного расписания: Нет ответа.");
inline constexpr auto kWriteModeTariffProfile =
    Kel_Cp1251("Запрос на запись режима работы профиля: Нет ответа.");
