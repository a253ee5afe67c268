// The few operating-system services the command-line host needs, one implementation per platform
// (host_os_posix.cpp, host_os_windows.cpp); everything else in the host is the same code on both.
#pragma once

#include <cstddef>
#include <cstdio>
#include <ctime>
#include <string>

namespace q310cli::os
{

int Dup(int aFd);
int Dup2(int aFd, int aTarget);
int Close(int aFd);
// A pipe of two descriptors (binary on Windows); false when it cannot be made.
bool Pipe(int aFds[2]);
long Read(int aFd, void* pBuffer, size_t aSize);
bool IsTerminal(int aFd);
// A stream that writes to the descriptor (text mode).
std::FILE* OpenWrite(int aFd);
// Makes a console show UTF-8 (Windows); nothing elsewhere.
void Utf8Console();
// The calendar fields of a moment in UTC.
std::tm UtcFields(std::time_t aSeconds);

// A serial device path as a COM number the library can open: a private folder holding a link COM1 to
// the device, named to the library by Q310_SERIAL_DIR. Returns the folder ("" when this platform
// opens no device paths); RemovePortFolder removes it again.
std::string MakePortFolder(const std::string& aDevice, std::string& aError);
void RemovePortFolder(const std::string& aFolder);

} // namespace q310cli::os
