// The compile-time Windows-1251 texts at the edges of the letter block (the messages themselves are
// checked end to end); eOpen's mode text: what it reads, what it keeps, and the line settings from it.
#define KEL_TRACE_FILE "Q310"
#include "Q310/q310_export_support.h"
#include "Q310/q310_exports_session.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace
{
std::string Bytes(const char* pText, size_t aLength)
{
    return std::string(pText, aLength);
}

constexpr auto kOpenText = Kel_Cp1251("Запрос на открытие канала связи со счетчиком: Ошибка.");
static_assert(kOpenText.length == 53);
static_assert(Kel_Cp1251("ASCII only").length == 10);
static_assert(Kel_Cp1251("").length == 0);

TEST(Cp1251, BlockEdgesAndTheLettersOutsideIt)
{
    // А and Я, а and я close the block; Ё, ё and № lie outside it; ASCII passes unchanged.
    constexpr auto text = Kel_Cp1251("АЯаяЁё№ z");
    EXPECT_EQ(Bytes(text.c_str(), text.length), std::string("\xC0\xDF\xE0\xFF\xA8\xB8\xB9\x20\x7A"));
    constexpr auto sunday = Kel_Cp1251("Воскресенье");
    EXPECT_EQ(sunday.length, 11u);
    EXPECT_EQ(Bytes(sunday.c_str(), sunday.length),
              std::string("\xC2\xEE\xF1\xEA\xF0\xE5\xF1\xE5\xED\xFC\xE5"));
}

} // namespace

namespace
{
Q310_Mode Earlier()
{
    Q310_Mode mode{};
    mode.baudRate = 1200;
    mode.dataBits = 7;
    mode.stopBits = 2;
    return mode;
}

// What eOpen reads from its mode text, starting from earlier values (1200 baud, 7 data bits, 2 stop bits,
// the texts empty): sscanf stops at the first field that does not match, and keeps the rest.
TEST(ModeText, FieldsReadAndKept)
{
    const struct
    {
        const char* text;
        bool accepted;
        uint32_t baud;
        int data, stop;
        const char *parity, *dtr, *rts;
    } cases[] = {
        {"baud=9600 parity=Even data=8 stop=1 dtr=on rts=off", true, 9600, 8, 1, "Even", "on", "off"},
        {"", false, 1200, 7, 2, "", "", ""},
        {"   \t", false, 1200, 7, 2, "", "", ""},
        {"speed=9600", true, 1200, 7, 2, "", "", ""},
        {"baud=4800 parity=None date=8 stop=1", true, 4800, 7, 2, "None", "", ""},
        // Words are cut at fifteen characters: "P data=8" then matches nothing.
        {"baud=9600 parity=ABCDEFGHIJKLMNOP data=8 stop=1 dtr=on rts=on", true, 9600, 7, 2, "ABCDEFGHIJKLMNO",
         "", ""},
    };
    for (const auto& c : cases)
    {
        Q310_Mode mode = Earlier();
        EXPECT_EQ(Q310_ParseMode(c.text, &mode), c.accepted) << c.text;
        EXPECT_EQ(mode.baudRate, c.baud) << c.text;
        EXPECT_EQ(mode.dataBits, c.data) << c.text;
        EXPECT_EQ(mode.stopBits, c.stop) << c.text;
        EXPECT_STREQ(mode.parity, c.parity) << c.text;
        EXPECT_STREQ(mode.dtr, c.dtr) << c.text;
        EXPECT_STREQ(mode.rts, c.rts) << c.text;
    }
}

Kel_P_Serial_DCB PortAsFound()
{
    Kel_P_Serial_DCB dcb{};
    dcb.BaudRate = 300;
    dcb.ByteSize = 5;
    dcb.fParity = 1;
    dcb.Parity = KEL_SERIAL_ODDPARITY;
    dcb.StopBits = KEL_SERIAL_TWOSTOPBITS;
    dcb.fOutX = 1;
    dcb.fInX = 1;
    dcb.fDtrControl = KEL_SERIAL_DTR_CONTROL_HANDSHAKE;
    dcb.fRtsControl = KEL_SERIAL_RTS_CONTROL_HANDSHAKE;
    dcb.XonChar = 0x11;
    dcb.XoffChar = 0x13;
    dcb.XonLim = 2048;
    dcb.XoffLim = 512;
    return dcb;
}

Kel_P_Serial_DCB Applied(const char* pText)
{
    Q310_Mode mode{};
    EXPECT_TRUE(Q310_ParseMode(pText, &mode));
    Kel_P_Serial_DCB dcb = PortAsFound();
    Q310_ApplyMode(mode, &dcb);
    return dcb;
}

TEST(ModeText, LineSettingsAsWritten)
{
    const Kel_P_Serial_DCB dcb = Applied("baud=9600 parity=Even data=8 stop=1 dtr=on rts=on");
    EXPECT_EQ(dcb.BaudRate, 9600u);
    EXPECT_EQ(dcb.ByteSize, 8);
    EXPECT_EQ(dcb.StopBits, KEL_SERIAL_ONESTOPBIT);
    EXPECT_EQ(dcb.fParity, 1u);
    EXPECT_EQ(dcb.Parity, KEL_SERIAL_EVENPARITY);
    // Always: no software flow control, DTR and RTS control disabled, XON/XOFF cleared.
    EXPECT_EQ(dcb.fOutX, 0u);
    EXPECT_EQ(dcb.fInX, 0u);
    EXPECT_EQ(dcb.fDtrControl, KEL_SERIAL_DTR_CONTROL_DISABLE);
    EXPECT_EQ(dcb.fRtsControl, KEL_SERIAL_RTS_CONTROL_DISABLE);
    EXPECT_EQ(dcb.XonChar, 0);
    EXPECT_EQ(dcb.XoffChar, 0);
    EXPECT_EQ(dcb.XonLim, 0);
    EXPECT_EQ(dcb.XoffLim, 0);
}

TEST(ModeText, ParityAndStopBits)
{
    const struct
    {
        const char* text;
        uint32_t check;
        uint8_t parity;
        uint8_t stop;
    } cases[] = {
        {"baud=9600 parity=None data=8 stop=1", 0, KEL_SERIAL_NOPARITY, KEL_SERIAL_ONESTOPBIT},
        {"baud=9600 parity=Odd data=8 stop=2", 1, KEL_SERIAL_ODDPARITY, KEL_SERIAL_TWOSTOPBITS},
        {"baud=9600 parity=Mask data=8 stop=3", 1, KEL_SERIAL_MARKPARITY, KEL_SERIAL_ONE5STOPBITS},
        {"baud=9600 parity=Space data=8 stop=0", 1, KEL_SERIAL_SPACEPARITY, KEL_SERIAL_ONESTOPBIT},
        // Case matters: the port keeps what it had (odd parity, checked).
        {"baud=9600 parity=even data=8 stop=1", 1, KEL_SERIAL_ODDPARITY, KEL_SERIAL_ONESTOPBIT},
        {"baud=9600 parity=NONE data=8 stop=1", 1, KEL_SERIAL_ODDPARITY, KEL_SERIAL_ONESTOPBIT},
    };
    for (const auto& c : cases)
    {
        const Kel_P_Serial_DCB dcb = Applied(c.text);
        EXPECT_EQ(dcb.fParity, c.check) << c.text;
        EXPECT_EQ(dcb.Parity, c.parity) << c.text;
        EXPECT_EQ(dcb.StopBits, c.stop) << c.text;
    }
}
} // namespace
