// Windows services of the command-line host (the C runtime's descriptor calls).
#include "host_os.h"

#include <cstdio>
#include <fcntl.h>
#include <io.h>
#include <windows.h>

namespace q310cli::os
{

int Dup(int aFd)
{
    return _dup(aFd);
}
int Dup2(int aFd, int aTarget)
{
    return _dup2(aFd, aTarget);
}
int Close(int aFd)
{
    return _close(aFd);
}
bool Pipe(int aFds[2])
{
    return _pipe(aFds, 65536, _O_BINARY) == 0;
}
long Read(int aFd, void* pBuffer, size_t aSize)
{
    return _read(aFd, pBuffer, static_cast<unsigned>(aSize));
}
bool IsTerminal(int aFd)
{
    return _isatty(aFd) != 0;
}
std::FILE* OpenWrite(int aFd)
{
    return _fdopen(aFd, "w");
}
void Utf8Console()
{
    SetConsoleOutputCP(CP_UTF8);
}

// Windows opens COM ports by number only; a device path has no meaning there.
std::string MakePortFolder(const std::string&, std::string& aError)
{
    aError = "a device path needs the Linux build; give the COM number";
    return "";
}
void RemovePortFolder(const std::string&) {}

std::tm UtcFields(std::time_t aSeconds)
{
    std::tm fields{};
    gmtime_s(&fields, &aSeconds);
    return fields;
}

} // namespace q310cli::os
