/* A small host of the installed library, in plain C: it includes <Q310.h>, links libq310.so or Q310.dll
 * and walks the documented call order (open, path flags, eReadSerialNumber, a read, close) over each
 * path to a meter: the example for host developers that docs/host-guide.md runs against zentor-sim. The
 * package tests build it against an installation and run it.
 *
 *   host closed                       eTcpOpen to a port nobody listens on: 0 and its message
 *   host tcp ADDRESS PORT [echo]      a TCP serial bridge (echo: the bridge echoes each request)
 *   host com N [plain|echo|gateway]   COM port N: plain line, RS-485 with echo, GSM gateway
 *   host com N modem NUMBER           COM port N with a GSM modem: AT set-up, dial NUMBER, read, hang up
 *
 * On success it prints "serial <number> frequency <Hz>" (closed: "closed port refused") and exits 0.
 */
#include <Q310.h>

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#if defined(_WIN32)
#include <winsock2.h>
#include <windows.h>
#else
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>
#endif

#define METER_ADDRESS 1

/* Room for the longest message of any export (78 bytes with its terminator) and more. */
static char err[256];

static int Fail(const char* step, int32_t result)
{
    size_t i;
    printf("%s returned %ld; outErr:", step, (long)result);
    for (i = 0; err[i] != 0 && i < sizeof(err); ++i)
        printf(" %02X", (unsigned char)err[i]);
    printf("\n");
    return 1;
}

/* Identifies the meter and reads one value: the part of every session after the path is chosen. */
static int ReadMeter(void)
{
    char serial[64] = "";
    char frequency[64] = "";
    int32_t result = eReadSerialNumber(METER_ADDRESS, serial, err);
    if (result != 1)
        return Fail("eReadSerialNumber", result);
    result = eReadFrequency(METER_ADDRESS, frequency, err);
    if (result != 1)
        return Fail("eReadFrequency", result);
    printf("serial %s frequency %s\n", serial, frequency);
    return 0;
}

static int Close(void)
{
    int32_t result = eClose(0, err);
    return result == 1 ? 0 : Fail("eClose", result);
}

/* A local TCP port with no listener: bound to a free port and closed again. */
static int ClosedPort(void)
{
    struct sockaddr_in address;
    int port = -1;
#if defined(_WIN32)
    int length = sizeof(address);
    WSADATA data;
    SOCKET fd;
    if (WSAStartup(MAKEWORD(2, 2), &data) != 0)
        return -1;
    fd = socket(AF_INET, SOCK_STREAM, 0);
#else
    socklen_t length = sizeof(address);
    int fd = socket(AF_INET, SOCK_STREAM, 0);
#endif
    memset(&address, 0, sizeof(address));
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (bind(fd, (struct sockaddr*)&address, sizeof(address)) == 0 &&
        getsockname(fd, (struct sockaddr*)&address, &length) == 0)
        port = ntohs(address.sin_port);
#if defined(_WIN32)
    closesocket(fd);
#else
    close(fd);
#endif
    return port;
}

static int RunClosed(void)
{
    /* "Запрос на открытие TCP/IP сокета: Ошибка." in Windows-1251. */
    static const char expected[] =
        "\xC7\xE0\xEF\xF0\xEE\xF1 \xED\xE0 \xEE\xF2\xEA\xF0\xFB\xF2\xE8\xE5 TCP/IP "
        "\xF1\xEE\xEA\xE5\xF2\xE0: \xCE\xF8\xE8\xE1\xEA\xE0.";
    const int port = ClosedPort();
    int32_t result;
    if (port <= 0)
        return Fail("finding a closed port", port);
    if (eClose(0, NULL) != Q310_BAD_INVALID_ARGUMENT)
        return Fail("eClose(0, NULL)", 0);
    result = eTcpOpen(port, "127.0.0.1", 0, 500, err);
    if (result != 0 || memcmp(err, expected, sizeof(expected)) != 0)
        return Fail("eTcpOpen to a closed port", result);
#if defined(_WIN32)
    {
        /* Hosts that load the DLL at run time ask for the exported names, which carry the underscore. */
        HMODULE library = GetModuleHandleA("Q310.dll");
        if (library == NULL || GetProcAddress(library, "_eTcpOpen") == NULL ||
            GetProcAddress(library, "eTcpOpen") != NULL)
            return Fail("GetProcAddress(\"_eTcpOpen\")", 0);
    }
#endif
    if (Close() != 0)
        return 1;
    printf("closed port refused\n");
    return 0;
}

static int RunTcp(const char* address, int port, int echo)
{
    int32_t result = eTcpOpen(port, address, 0, 1000, err);
    if (result != 1)
        return Fail("eTcpOpen", result);
    /* A bridge that echoes each request (an RS-485 line behind it); this also stops tracing. */
    if (echo)
        eSetTcpFlag(1, 1);
    if (ReadMeter() != 0)
        return 1;
    return Close();
}

static int RunCom(int comNumber, const char* path, const char* number)
{
    /* Read interval 20 ms, read total constant 1000 ms, no write time-outs. */
    static const uint32_t timeOuts[5] = {20, 0, 1000, 0, 0};
    int32_t result = eOpen(comNumber, "baud=9600 parity=None data=8 stop=1 dtr=on rts=on", timeOuts, err);
    if (result != 1)
        return Fail("eOpen", result);
    if (strcmp(path, "echo") == 0)
        eSetEchoFlag(1); /* returns 0 in every case */
    else if (strcmp(path, "gateway") == 0)
    {
        if ((result = eSetGSMFlag(2)) != 1)
            return Fail("eSetGSMFlag(2)", result);
        /* 9600 baud, 8 data bits, 1 stop bit, options 0, time-out 500, lock value 0. */
        if ((result = eWriteParamGSMLock(9600, 8, 1, 0, 0, 500, 0, err)) != 1)
            return Fail("eWriteParamGSMLock", result);
    }
    else if (strcmp(path, "modem") == 0)
    {
        if ((result = eWriteATZtoGSM(err)) != 1)
            return Fail("eWriteATZtoGSM", result);
        /* Modem echo on (ATE1, AT&W), and the library knows it: it reads the echo of the dial command
         * and of the "+++" escape, which also gives the modem its pause between "+++" and "ATH". */
        if ((result = eSetEchoMode(1, err)) != 1)
            return Fail("eSetEchoMode", result);
        if ((result = eWriteATDtoGSM(number, (uint32_t)strlen(number), 60, err)) != 1)
            return Fail("eWriteATDtoGSM", result);
        /* Connected: the data call echoes every request. */
        if ((result = eSetGSMFlag(1)) != 1)
            return Fail("eSetGSMFlag(1)", result);
    }
    else if (strcmp(path, "plain") != 0)
        return Fail("unknown path", 0);
    if (ReadMeter() != 0)
        return 1;
    if (strcmp(path, "modem") == 0 && (result = eDisconnectGSM(err)) != 1)
        return Fail("eDisconnectGSM", result);
    return Close();
}

int main(int argc, char** argv)
{
    if (argc == 2 && strcmp(argv[1], "closed") == 0)
        return RunClosed();
    if ((argc == 4 || argc == 5) && strcmp(argv[1], "tcp") == 0)
        return RunTcp(argv[2], atoi(argv[3]), argc == 5 && strcmp(argv[4], "echo") == 0);
    if (argc == 5 && strcmp(argv[1], "com") == 0 && strcmp(argv[3], "modem") == 0)
        return RunCom(atoi(argv[2]), "modem", argv[4]);
    if ((argc == 3 || argc == 4) && strcmp(argv[1], "com") == 0)
        return RunCom(atoi(argv[2]), argc == 4 ? argv[3] : "plain", NULL);
    fprintf(stderr, "usage: host closed | host tcp ADDRESS PORT [echo] | host com N [plain|echo|gateway] |"
                    " host com N modem NUMBER\n");
    return 2;
}
