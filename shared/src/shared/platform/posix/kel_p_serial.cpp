// The serial port over POSIX terminals (termios), with the same functions, records and results as the
// Windows port.
//
// Decisions of this platform:
// - Port names. An absolute path is opened as it is. "COMn" (any case, n a decimal number) is the
//   link "COMn" in the directory named by the environment variable Q310_SERIAL_DIR when that is set
//   (tests point such links at pseudo-terminals, no root needed), else /dev/ttyS(n-1). Any other name
//   is looked up under /dev, as Windows looks it up in its device namespace \\.\.
// - Open makes the line binary (no canonical input, echo, signals or output processing, no XON/XOFF)
//   and keeps the device's speed and character format, as a Windows port has no line discipline.
//   A second Open of an open port fails (flock and TIOCEXCL), as the Windows open is exclusive.
// - Time-outs live with the open descriptor, as the Windows driver keeps them with its handle: a port
//   opened here starts with all five words zero (reads block until the count is met), as Windows.
// - The line settings record maps onto termios; fields termios cannot hold (limits, error and event
//   characters, one and a half stop bits) are kept with the descriptor and read back as they were
//   written. Speeds without a termios constant (14400, 56000, 128000, 256000) are set through the
//   kernel's numeric speed (BOTHER).
// - A device without modem-control lines (a pseudo-terminal, a virtual port made by socat) refuses the
//   DTR/RTS ioctls with ENOTTY or EINVAL. Set_Signal then reports Kel_Good: there is no line to raise,
//   and such ports must stay usable by the session, which checks the RTS result. Any other failure is
//   Kel_BadInternalError. SetCommState ignores the same refusal for its DTR/RTS control fields.
// - The expression texts of failed steps are those of the Windows port, so that one trace reads the
//   same on both platforms.
// - The port list names the COMn links of Q310_SERIAL_DIR when it is set (sorted by number, as the
//   system's COM names); otherwise the real serial devices: /sys/class/tty entries backed by a device,
//   without the unused 8250 slots (type 0), as absolute /dev paths in natural order. It stops at 20.
#define KEL_TRACE_FILE "shared/src/shared/platform/posix/kel_p_serial"
#include "shared/platform/kel_p_serial.h"
#include "shared/platform/kel_p_serial_backend.h"
#include "shared/platform/posix/kel_p_serial_termios.h"

#include "shared/kel_trace.h"
#include "shared/platform/kel_p_thread.h"

#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <time.h>
#include <unistd.h>

#include <mutex>

namespace
{
constexpr uint32_t KEL_SERIAL_MAX_PORTS = 64;
constexpr int KEL_SERIAL_IDLE_WAIT_MS = 5;
constexpr int64_t KEL_SERIAL_DRAIN_MS = 1000;

// The kernel's termios with numeric speeds (struct termios2 of <asm/termbits.h>, which cannot be
// included next to <termios.h>).
struct KernelTermios2
{
    tcflag_t c_iflag;
    tcflag_t c_oflag;
    tcflag_t c_cflag;
    tcflag_t c_lflag;
    cc_t c_line;
    cc_t c_cc[19];
    speed_t c_ispeed;
    speed_t c_ospeed;
};
static_assert(sizeof(KernelTermios2) == 44, "the kernel's termios2");
constexpr unsigned long KEL_TCGETS2 = _IOR('T', 0x2A, KernelTermios2);
constexpr unsigned long KEL_TCSETS2 = _IOW('T', 0x2B, KernelTermios2);
constexpr tcflag_t KEL_CBAUD = 0010017;
constexpr tcflag_t KEL_BOTHER = 0010000;
constexpr tcflag_t KEL_CIBAUD = KEL_CBAUD << 16;

// What the Windows driver keeps with an open handle and termios cannot: the time-outs and the fields
// of the line settings that have no termios counterpart.
struct PortState
{
    int fd;
    uint32_t used;
    Kel_P_Serial_CommTimeouts timeouts;
    Kel_P_Serial_DCB dcb;
};

std::mutex portStatesLock;
PortState portStates[KEL_SERIAL_MAX_PORTS];

Kel_P_Serial_DCB DefaultDcb()
{
    Kel_P_Serial_DCB dcb{};
    dcb.DCBlength = sizeof(Kel_P_Serial_DCB);
    dcb.fBinary = 1;
    dcb.fDtrControl = KEL_SERIAL_DTR_CONTROL_ENABLE;
    dcb.fRtsControl = KEL_SERIAL_RTS_CONTROL_ENABLE;
    return dcb;
}

// The state of a descriptor, made on first use; null when the table is full. Called under the lock.
PortState* FindState(int aFd, bool aCreate)
{
    PortState* freeSlot = KEL_NULL;
    for (PortState& state : portStates)
    {
        if (state.used != 0 && state.fd == aFd)
            return &state;
        if (state.used == 0 && freeSlot == KEL_NULL)
            freeSlot = &state;
    }
    if (!aCreate || freeSlot == KEL_NULL)
        return KEL_NULL;
    *freeSlot = PortState{aFd, 1, Kel_P_Serial_CommTimeouts{}, DefaultDcb()};
    return freeSlot;
}

void ForgetState(int aFd)
{
    std::lock_guard<std::mutex> lock(portStatesLock);
    PortState* state = FindState(aFd, false);
    if (state != KEL_NULL)
        *state = PortState{};
}

bool IsTerminal(intptr_t aPort)
{
    termios settings{};
    if (aPort < 0 || aPort > 0x7FFFFFFF)
    {
        errno = EBADF;
        return false;
    }
    return tcgetattr(static_cast<int>(aPort), &settings) == 0;
}

int64_t NowMs()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<int64_t>(now.tv_sec) * 1000 + now.tv_nsec / 1000000;
}

int PollTimeout(int64_t aMilliseconds)
{
    if (aMilliseconds < 0)
        return -1;
    return aMilliseconds > 0x7FFFFFFF ? 0x7FFFFFFF : static_cast<int>(aMilliseconds);
}

// A refusal that means "this device has no modem-control lines".
bool IsNoModemLines(int aError)
{
    return aError == ENOTTY || aError == EINVAL || aError == EOPNOTSUPP;
}

struct SpeedCode
{
    uint32_t rate;
    speed_t code;
};
constexpr SpeedCode speedCodes[] = {
    {50, B50},       {75, B75},         {110, B110},       {134, B134},       {150, B150},
    {200, B200},     {300, B300},       {600, B600},       {1200, B1200},     {1800, B1800},
    {2400, B2400},   {4800, B4800},     {9600, B9600},     {19200, B19200},   {38400, B38400},
    {57600, B57600}, {115200, B115200}, {230400, B230400}, {460800, B460800}, {921600, B921600},
};

bool FindSpeedCode(uint32_t aRate, speed_t* pCode)
{
    for (const SpeedCode& entry : speedCodes)
    {
        if (entry.rate == aRate)
        {
            *pCode = entry.code;
            return true;
        }
    }
    return false;
}

uint32_t ReadSpeed(int aFd, const termios& aSettings)
{
    KernelTermios2 settings2{};
    if (ioctl(aFd, KEL_TCGETS2, &settings2) == 0)
        return settings2.c_ospeed;
    const speed_t code = cfgetospeed(&aSettings);
    for (const SpeedCode& entry : speedCodes)
    {
        if (entry.code == code)
            return entry.rate;
    }
    return 0;
}

// Data bytes queued at the descriptor, without waiting: reads until aSize bytes or nothing more.
uint32_t ReadQueued(int aFd, uint8_t* pBuffer, uint32_t aSize, bool* pDead)
{
    uint32_t total = 0;
    while (total < aSize)
    {
        const ssize_t result = read(aFd, pBuffer + total, aSize - total);
        if (result > 0)
        {
            total += static_cast<uint32_t>(result);
            continue;
        }
        if (result < 0 && errno == EINTR)
            continue;
        // A terminal in non-canonical mode with VMIN and VTIME 0 answers 0 when nothing is queued;
        // a line that is gone answers with an error (EIO once the far end of a pseudo-terminal closed).
        if (result < 0 && errno != EAGAIN && errno != EWOULDBLOCK)
            *pDead = true;
        break;
    }
    return total;
}

// One read that honours the five time-out words as the Windows driver does:
// - interval all-ones with both totals zero: return at once with what is queued;
// - interval and multiplier all-ones, constant between: return as soon as anything is there, at the
//   latest after the constant;
// - otherwise the total time-out is multiplier x bytes asked + constant (none when both are zero),
//   and the interval time-out (none for 0 and all-ones) runs between bytes from the first byte on;
//   with neither the read blocks until the count is met.
// A line that hangs up ends the read with what arrived, and sets *pDead.
uint32_t ReadWithTimeouts(int aFd, uint8_t* pBuffer, uint32_t aSize,
                          const Kel_P_Serial_CommTimeouts& aTimeouts, bool* pDead)
{
    bool& dead = *pDead;
    uint32_t total = ReadQueued(aFd, pBuffer, aSize, &dead);
    const uint32_t interval = aTimeouts.ReadIntervalTimeout;
    const uint32_t multiplier = aTimeouts.ReadTotalTimeoutMultiplier;
    const uint32_t constant = aTimeouts.ReadTotalTimeoutConstant;
    if (total == aSize || dead)
        return total;
    if (interval == KEL_SERIAL_MAXDWORD && multiplier == 0 && constant == 0)
        return total;
    const bool returnAtFirstByte = interval == KEL_SERIAL_MAXDWORD && multiplier == KEL_SERIAL_MAXDWORD &&
                                   constant != 0 && constant != KEL_SERIAL_MAXDWORD;
    if (returnAtFirstByte && total > 0)
        return total;

    const int64_t start = NowMs();
    const bool hasTotal = multiplier != 0 || constant != 0;
    const int64_t deadline =
        returnAtFirstByte ? start + constant
                          : start + static_cast<int64_t>(multiplier) * aSize + static_cast<int64_t>(constant);
    const bool hasInterval = interval != 0 && interval != KEL_SERIAL_MAXDWORD && !returnAtFirstByte;
    int64_t lastByte = start;
    for (;;)
    {
        const int64_t now = NowMs();
        int64_t wait = -1;
        if (hasTotal || returnAtFirstByte)
        {
            wait = deadline - now;
            if (wait <= 0)
                return total;
        }
        if (hasInterval && total > 0)
        {
            const int64_t intervalWait = lastByte + interval - now;
            if (intervalWait <= 0)
                return total;
            if (wait < 0 || intervalWait < wait)
                wait = intervalWait;
        }
        pollfd entry{aFd, POLLIN, 0};
        const int ready = poll(&entry, 1, PollTimeout(wait));
        if (ready < 0)
        {
            if (errno == EINTR)
                continue;
            return total;
        }
        if (ready == 0)
            continue; // the deadlines are checked at the top
        const uint32_t got = ReadQueued(aFd, pBuffer + total, aSize - total, &dead);
        if (got > 0)
        {
            total += got;
            lastByte = NowMs();
            if (total == aSize || returnAtFirstByte)
                return total;
        }
        if (got == 0 && (entry.revents & (POLLHUP | POLLERR | POLLNVAL)) != 0)
            dead = true;
        if (dead)
            return total;
    }
}

// One write under the write time-outs: total = multiplier x bytes + constant, none when both are zero.
uint32_t WriteWithTimeouts(int aFd, const uint8_t* pBuffer, uint32_t aSize,
                           const Kel_P_Serial_CommTimeouts& aTimeouts)
{
    const bool hasTotal =
        aTimeouts.WriteTotalTimeoutMultiplier != 0 || aTimeouts.WriteTotalTimeoutConstant != 0;
    const int64_t deadline = NowMs() + static_cast<int64_t>(aTimeouts.WriteTotalTimeoutMultiplier) * aSize +
                             static_cast<int64_t>(aTimeouts.WriteTotalTimeoutConstant);
    uint32_t total = 0;
    while (total < aSize)
    {
        const ssize_t result = write(aFd, pBuffer + total, aSize - total);
        if (result > 0)
        {
            total += static_cast<uint32_t>(result);
            continue;
        }
        if (result < 0 && errno == EINTR)
            continue;
        if (result < 0 && errno != EAGAIN && errno != EWOULDBLOCK)
            break;
        int64_t wait = -1;
        if (hasTotal)
        {
            wait = deadline - NowMs();
            if (wait <= 0)
                break;
        }
        pollfd entry{aFd, POLLOUT, 0};
        if (poll(&entry, 1, PollTimeout(wait)) < 0 && errno != EINTR)
            break;
        if ((entry.revents & (POLLHUP | POLLERR | POLLNVAL)) != 0)
            break;
    }
    return total;
}

// Waits until the bytes written to the device have left it, as tcdrain does, but for at most
// KEL_SERIAL_DRAIN_MS: a line held by flow control must not hold the caller for good.
void DrainOutput(int aFd)
{
    const int64_t deadline = NowMs() + KEL_SERIAL_DRAIN_MS;
    int queued = 0;
    while (ioctl(aFd, TIOCOUTQ, &queued) == 0 && queued > 0 && NowMs() < deadline)
        Kel_P_Sleep(1);
}

Kel_P_Serial_CommTimeouts TimeoutsOf(int aFd)
{
    std::lock_guard<std::mutex> lock(portStatesLock);
    const PortState* state = FindState(aFd, false);
    return state != KEL_NULL ? state->timeouts : Kel_P_Serial_CommTimeouts{};
}

bool ParseComNumber(const char* pName, unsigned long* pNumber)
{
    if (strncasecmp(pName, "COM", 3) != 0 || pName[3] < '0' || pName[3] > '9')
        return false;
    char* end = KEL_NULL;
    *pNumber = strtoul(pName + 3, &end, 10);
    return *end == '\0';
}

// The device path of a port name (the rule at the top of this file).
void DevicePath(const char* pName, char* pPath, size_t aPathSize)
{
    unsigned long number = 0;
    if (pName[0] == '/')
    {
        snprintf(pPath, aPathSize, "%s", pName);
    }
    else if (ParseComNumber(pName, &number))
    {
        const char* directory = getenv("Q310_SERIAL_DIR");
        if (directory != KEL_NULL && directory[0] != '\0')
            snprintf(pPath, aPathSize, "%s/%s", directory, pName);
        else
            snprintf(pPath, aPathSize, "/dev/ttyS%lu", number - 1);
    }
    else
    {
        snprintf(pPath, aPathSize, "/dev/%s", pName);
    }
}

// Opens a port device for reading and writing, exclusively, and makes its line binary; -1 with errno
// set on failure.
int OpenDevice(const char* pName)
{
    char path[KEL_SERIAL_PORT_NAME_SIZE + 64];
    DevicePath(pName, path, sizeof(path));
    const int fd = open(path, O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0)
        return -1;
    termios settings{};
    int error = 0;
    if (tcgetattr(fd, &settings) != 0)
        error = errno;
    else if (flock(fd, LOCK_EX | LOCK_NB) != 0)
        error = EBUSY;
    if (error == 0)
    {
        ioctl(fd, TIOCEXCL);
        settings.c_iflag &=
            ~(IGNBRK | BRKINT | PARMRK | ISTRIP | INLCR | IGNCR | ICRNL | IXON | IXOFF | IXANY);
        settings.c_oflag &= ~OPOST;
        settings.c_lflag &= ~(ECHO | ECHONL | ICANON | ISIG | IEXTEN);
        settings.c_cflag |= CREAD | CLOCAL;
        settings.c_cc[VMIN] = 0;
        settings.c_cc[VTIME] = 0;
        if (tcsetattr(fd, TCSANOW, &settings) != 0)
            error = errno;
    }
    if (error != 0)
    {
        close(fd);
        errno = error;
        return -1;
    }
    std::lock_guard<std::mutex> lock(portStatesLock);
    PortState* state = FindState(fd, true);
    if (state != KEL_NULL)
        *state = PortState{fd, 1, Kel_P_Serial_CommTimeouts{}, DefaultDcb()};
    return fd;
}

void CloseDevice(int aFd)
{
    ForgetState(aFd);
    ioctl(aFd, TIOCNXCL);
    close(aFd);
}

// Raises (aRaise) or drops a modem line; true when done or when the device has no such line.
bool SetModemLine(int aFd, int aLine, bool aRaise)
{
    if (ioctl(aFd, aRaise ? TIOCMBIS : TIOCMBIC, &aLine) == 0)
        return true;
    return IsNoModemLines(errno);
}

int PortFd(const Kel_P_Serial_Context* pSerialContext)
{
    const intptr_t port = pSerialContext->port_fd;
    return port >= 0 && port <= 0x7FFFFFFF ? static_cast<int>(port) : -1;
}
} // namespace

const char* Kel_P_Serial_LastErrorText()
{
    return strerror(errno);
}

void Kel_P_Serial_TermiosToDcb(const termios& aSettings, Kel_P_Serial_DCB* pDcb)
{
    pDcb->fBinary = 1;
    pDcb->fParity = (aSettings.c_iflag & INPCK) != 0 ? 1 : 0;
    pDcb->fOutxCtsFlow = (aSettings.c_cflag & CRTSCTS) != 0 ? 1 : 0;
    if ((aSettings.c_cflag & CRTSCTS) != 0)
        pDcb->fRtsControl = KEL_SERIAL_RTS_CONTROL_HANDSHAKE;
    else if (pDcb->fRtsControl == KEL_SERIAL_RTS_CONTROL_HANDSHAKE)
        pDcb->fRtsControl = KEL_SERIAL_RTS_CONTROL_ENABLE;
    pDcb->fOutX = (aSettings.c_iflag & IXON) != 0 ? 1 : 0;
    pDcb->fInX = (aSettings.c_iflag & IXOFF) != 0 ? 1 : 0;
    switch (aSettings.c_cflag & CSIZE)
    {
        case CS5:
            pDcb->ByteSize = 5;
            break;
        case CS6:
            pDcb->ByteSize = 6;
            break;
        case CS7:
            pDcb->ByteSize = 7;
            break;
        default:
            pDcb->ByteSize = 8;
            break;
    }
    if ((aSettings.c_cflag & PARENB) == 0)
        pDcb->Parity = KEL_SERIAL_NOPARITY;
    else if ((aSettings.c_cflag & CMSPAR) != 0)
        pDcb->Parity = (aSettings.c_cflag & PARODD) != 0 ? KEL_SERIAL_MARKPARITY : KEL_SERIAL_SPACEPARITY;
    else
        pDcb->Parity = (aSettings.c_cflag & PARODD) != 0 ? KEL_SERIAL_ODDPARITY : KEL_SERIAL_EVENPARITY;
    if ((aSettings.c_cflag & CSTOPB) == 0)
        pDcb->StopBits = KEL_SERIAL_ONESTOPBIT;
    else if (pDcb->StopBits != KEL_SERIAL_ONE5STOPBITS)
        pDcb->StopBits = KEL_SERIAL_TWOSTOPBITS;
    pDcb->XonChar = static_cast<char>(aSettings.c_cc[VSTART]);
    pDcb->XoffChar = static_cast<char>(aSettings.c_cc[VSTOP]);
}

void Kel_P_Serial_DcbToTermios(const Kel_P_Serial_DCB& aDcb, termios* pSettings)
{
    pSettings->c_cflag &= ~(CSIZE | PARENB | PARODD | CMSPAR | CSTOPB | CRTSCTS);
    pSettings->c_cflag |= CREAD | CLOCAL;
    static const tcflag_t sizes[] = {CS5, CS6, CS7, CS8};
    pSettings->c_cflag |= sizes[aDcb.ByteSize - 5];
    switch (aDcb.Parity)
    {
        case KEL_SERIAL_ODDPARITY:
            pSettings->c_cflag |= PARENB | PARODD;
            break;
        case KEL_SERIAL_EVENPARITY:
            pSettings->c_cflag |= PARENB;
            break;
        case KEL_SERIAL_MARKPARITY:
            pSettings->c_cflag |= PARENB | CMSPAR | PARODD;
            break;
        case KEL_SERIAL_SPACEPARITY:
            pSettings->c_cflag |= PARENB | CMSPAR;
            break;
        default:
            break;
    }
    if (aDcb.StopBits != KEL_SERIAL_ONESTOPBIT)
        pSettings->c_cflag |= CSTOPB;
    if (aDcb.fOutxCtsFlow != 0 || aDcb.fRtsControl == KEL_SERIAL_RTS_CONTROL_HANDSHAKE)
        pSettings->c_cflag |= CRTSCTS;
    pSettings->c_iflag &= ~(INPCK | IXON | IXOFF | IXANY);
    if (aDcb.fParity != 0)
        pSettings->c_iflag |= INPCK;
    if (aDcb.fOutX != 0)
        pSettings->c_iflag |= IXON;
    if (aDcb.fInX != 0)
        pSettings->c_iflag |= IXOFF;
    pSettings->c_cc[VSTART] = static_cast<cc_t>(aDcb.XonChar);
    pSettings->c_cc[VSTOP] = static_cast<cc_t>(aDcb.XoffChar);
}

int32_t Kel_P_Serial_GetCommState(Kel_P_Serial_Handle aPort, Kel_P_Serial_DCB* pDcb)
{
    termios settings{};
    if (pDcb == KEL_NULL || !IsTerminal(aPort))
    {
        if (pDcb == KEL_NULL)
            errno = EINVAL;
        return 0;
    }
    const int fd = static_cast<int>(aPort);
    tcgetattr(fd, &settings);
    Kel_P_Serial_DCB dcb = DefaultDcb();
    {
        std::lock_guard<std::mutex> lock(portStatesLock);
        const PortState* state = FindState(fd, true);
        if (state != KEL_NULL)
            dcb = state->dcb;
    }
    dcb.DCBlength = sizeof(Kel_P_Serial_DCB);
    dcb.BaudRate = ReadSpeed(fd, settings);
    Kel_P_Serial_TermiosToDcb(settings, &dcb);
    *pDcb = dcb;
    return 1;
}

int32_t Kel_P_Serial_SetCommState(Kel_P_Serial_Handle aPort, const Kel_P_Serial_DCB* pDcb)
{
    if (pDcb == KEL_NULL || pDcb->BaudRate == 0 || pDcb->ByteSize < 5 || pDcb->ByteSize > 8 ||
        pDcb->Parity > KEL_SERIAL_SPACEPARITY || pDcb->StopBits > KEL_SERIAL_TWOSTOPBITS)
    {
        errno = EINVAL;
        return 0;
    }
    termios settings{};
    if (!IsTerminal(aPort))
        return 0;
    const int fd = static_cast<int>(aPort);
    tcgetattr(fd, &settings);
    Kel_P_Serial_DcbToTermios(*pDcb, &settings);
    speed_t code = B0;
    const bool standardSpeed = FindSpeedCode(pDcb->BaudRate, &code);
    if (standardSpeed)
    {
        cfsetispeed(&settings, code);
        cfsetospeed(&settings, code);
    }
    if (tcsetattr(fd, TCSANOW, &settings) != 0)
        return 0;
    if (!standardSpeed)
    {
        KernelTermios2 settings2{};
        if (ioctl(fd, KEL_TCGETS2, &settings2) != 0)
            return 0;
        settings2.c_cflag &= ~(KEL_CBAUD | KEL_CIBAUD);
        settings2.c_cflag |= KEL_BOTHER;
        settings2.c_ispeed = pDcb->BaudRate;
        settings2.c_ospeed = pDcb->BaudRate;
        if (ioctl(fd, KEL_TCSETS2, &settings2) != 0)
            return 0;
    }
    if (pDcb->fDtrControl != KEL_SERIAL_DTR_CONTROL_HANDSHAKE &&
        !SetModemLine(fd, TIOCM_DTR, pDcb->fDtrControl == KEL_SERIAL_DTR_CONTROL_ENABLE))
        return 0;
    if ((pDcb->fRtsControl == KEL_SERIAL_RTS_CONTROL_ENABLE ||
         pDcb->fRtsControl == KEL_SERIAL_RTS_CONTROL_DISABLE) &&
        !SetModemLine(fd, TIOCM_RTS, pDcb->fRtsControl == KEL_SERIAL_RTS_CONTROL_ENABLE))
        return 0;
    std::lock_guard<std::mutex> lock(portStatesLock);
    PortState* state = FindState(fd, true);
    if (state == KEL_NULL)
    {
        errno = ENFILE;
        return 0;
    }
    state->dcb = *pDcb;
    return 1;
}

int32_t Kel_P_Serial_GetCommTimeouts(Kel_P_Serial_Handle aPort, Kel_P_Serial_CommTimeouts* pCommTimeouts)
{
    if (pCommTimeouts == KEL_NULL || !IsTerminal(aPort))
    {
        if (pCommTimeouts == KEL_NULL)
            errno = EINVAL;
        return 0;
    }
    std::lock_guard<std::mutex> lock(portStatesLock);
    const PortState* state = FindState(static_cast<int>(aPort), true);
    *pCommTimeouts = state != KEL_NULL ? state->timeouts : Kel_P_Serial_CommTimeouts{};
    return 1;
}

int32_t Kel_P_Serial_SetCommTimeouts(Kel_P_Serial_Handle aPort,
                                     const Kel_P_Serial_CommTimeouts* pCommTimeouts)
{
    if (pCommTimeouts == KEL_NULL || !IsTerminal(aPort))
    {
        if (pCommTimeouts == KEL_NULL)
            errno = EINVAL;
        return 0;
    }
    std::lock_guard<std::mutex> lock(portStatesLock);
    PortState* state = FindState(static_cast<int>(aPort), true);
    if (state == KEL_NULL)
    {
        errno = ENFILE;
        return 0;
    }
    state->timeouts = *pCommTimeouts;
    return 1;
}

Kel_P_Serial_Handle Kel_P_Serial_PortOpen(const char* pName)
{
    return OpenDevice(pName);
}

void Kel_P_Serial_PortClose(const Kel_P_Serial_Context* pSerialContext)
{
    const int fd = PortFd(pSerialContext);
    if (fd >= 0)
        CloseDevice(fd);
}

uint32_t Kel_P_Serial_PortRead(const Kel_P_Serial_Context* pSerialContext, uint8_t* pBuffer, uint32_t aSize,
                               bool* pDead)
{
    *pDead = false;
    const int fd = PortFd(pSerialContext);
    return fd >= 0 ? ReadWithTimeouts(fd, pBuffer, aSize, TimeoutsOf(fd), pDead) : 0;
}

// Where Windows sleeps 5 ms after finding nothing, waits up to 5 ms for input instead: the same result
// when nothing comes, no added latency when something does (a closed port just sleeps).
bool Kel_P_Serial_PortIdle(const Kel_P_Serial_Context* pSerialContext)
{
    pollfd entry{PortFd(pSerialContext), POLLIN, 0};
    return poll(&entry, 1, KEL_SERIAL_IDLE_WAIT_MS) > 0 &&
           (entry.revents & (POLLHUP | POLLERR | POLLNVAL)) != 0;
}

uint32_t Kel_P_Serial_PortWrite(const Kel_P_Serial_Context* pSerialContext, const uint8_t* pBuffer,
                                uint32_t aSize)
{
    const int fd = PortFd(pSerialContext);
    return fd >= 0 ? WriteWithTimeouts(fd, pBuffer, aSize, TimeoutsOf(fd)) : 0;
}

// What this library has written is never thrown away: a pseudo-terminal holds written bytes until its
// other side reads them, and "+++" purged before the modem saw it would leave the modem in data mode.
// So the output is let go (for a bounded time, in case the line is held by flow control), and only the
// input is discarded.
bool Kel_P_Serial_PortPurge(const Kel_P_Serial_Context* pSerialContext, uint32_t aInput)
{
    const int fd = PortFd(pSerialContext);
    DrainOutput(fd);
    return aInput != 1 || tcflush(fd, TCIFLUSH) == 0;
}

bool Kel_P_Serial_PortQueued(const Kel_P_Serial_Context* pSerialContext, uint32_t aInput, uint32_t* pCount)
{
    int count = 0;
    if (ioctl(PortFd(pSerialContext), aInput == 1 ? FIONREAD : TIOCOUTQ, &count) != 0)
        return false;
    *pCount = count > 0 ? static_cast<uint32_t>(count) : 0;
    return true;
}

bool Kel_P_Serial_PortRaise(const Kel_P_Serial_Context* pSerialContext, uint32_t aSignal)
{
    return SetModemLine(PortFd(pSerialContext), aSignal == KEL_SERIAL_SIGNAL_DTR ? TIOCM_DTR : TIOCM_RTS,
                        true);
}

bool Kel_P_Serial_PortBreak(const Kel_P_Serial_Context* pSerialContext)
{
    return ioctl(PortFd(pSerialContext), TIOCSBRK) == 0;
}

namespace
{
int CompareComLinks(const dirent** pLeft, const dirent** pRight)
{
    unsigned long left = 0;
    unsigned long right = 0;
    ParseComNumber((*pLeft)->d_name, &left);
    ParseComNumber((*pRight)->d_name, &right);
    return left < right ? -1 : (left > right ? 1 : 0);
}

int IsComLink(const dirent* pEntry)
{
    unsigned long number = 0;
    return ParseComNumber(pEntry->d_name, &number) ? 1 : 0;
}

// A tty of /sys/class/tty that stands for a serial device: it has a device behind it, and an 8250
// slot reports a port type other than 0 (unknown).
int IsSerialDevice(const dirent* pEntry)
{
    if (pEntry->d_name[0] == '.')
        return 0;
    char path[512];
    snprintf(path, sizeof(path), "/sys/class/tty/%s/device", pEntry->d_name);
    if (access(path, F_OK) != 0)
        return 0;
    snprintf(path, sizeof(path), "/sys/class/tty/%s/type", pEntry->d_name);
    FILE* typeFile = fopen(path, "r");
    if (typeFile == KEL_NULL)
        return 1;
    int type = 0;
    const int fields = fscanf(typeFile, "%d", &type);
    fclose(typeFile);
    return fields == 1 && type != 0 ? 1 : 0;
}
} // namespace

bool Kel_P_Serial_PortList(Kel_P_Serial_PortNameList* pPortNameList)
{
    const char* directory = getenv("Q310_SERIAL_DIR");
    const bool links = directory != KEL_NULL && directory[0] != '\0';
    dirent** entries = KEL_NULL;
    const int found = links ? scandir(directory, &entries, IsComLink, CompareComLinks)
                            : scandir("/sys/class/tty", &entries, IsSerialDevice, versionsort);
    if (found < 0)
        return false;
    for (int index = 0; index < found; ++index)
    {
        if (pPortNameList->count < KEL_SERIAL_PORT_LIST_SIZE)
        {
            char* name = pPortNameList->portNames[pPortNameList->count];
            snprintf(name, KEL_SERIAL_PORT_NAME_SIZE, links ? "%s" : "/dev/%s", entries[index]->d_name);
            ++pPortNameList->count;
        }
        free(entries[index]);
    }
    free(entries);
    return true;
}
