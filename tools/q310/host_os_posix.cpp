// POSIX services of the command-line host.
#include "host_os.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <unistd.h>

namespace q310cli::os
{

int Dup(int aFd)
{
    return dup(aFd);
}
int Dup2(int aFd, int aTarget)
{
    return dup2(aFd, aTarget);
}
int Close(int aFd)
{
    return close(aFd);
}
bool Pipe(int aFds[2])
{
    return pipe(aFds) == 0;
}
long Read(int aFd, void* pBuffer, size_t aSize)
{
    ssize_t got = 0;
    do
        got = read(aFd, pBuffer, aSize);
    while (got < 0 && errno == EINTR);
    return static_cast<long>(got);
}
bool IsTerminal(int aFd)
{
    return isatty(aFd) == 1;
}
std::FILE* OpenWrite(int aFd)
{
    return fdopen(aFd, "w");
}
void Utf8Console() {}

std::string MakePortFolder(const std::string& aDevice, std::string& aError)
{
    char pattern[] = "/tmp/q310-port-XXXXXX";
    if (mkdtemp(pattern) == nullptr)
    {
        aError = std::string("cannot make a folder for the port link: ") + strerror(errno);
        return "";
    }
    const std::string folder = pattern;
    std::error_code error;
    std::filesystem::create_symlink(std::filesystem::absolute(aDevice), folder + "/COM1", error);
    if (error)
    {
        aError = "cannot link " + aDevice + ": " + error.message();
        RemovePortFolder(folder);
        return "";
    }
    setenv("Q310_SERIAL_DIR", folder.c_str(), 1);
    return folder;
}

void RemovePortFolder(const std::string& aFolder)
{
    std::error_code error;
    if (!aFolder.empty())
        std::filesystem::remove_all(aFolder, error);
}

std::tm UtcFields(std::time_t aSeconds)
{
    std::tm fields{};
    gmtime_r(&aSeconds, &fields);
    return fields;
}

} // namespace q310cli::os
