// Command-line front end to the data-protection utilities, used by protection_openssl.sh to check
// the encrypted container against a second AES-128-CBC implementation.
//
//   kel_protect_cli encrypt PASSWORD-HEX IN OUT [IN OUT ...]   Kel_Utils_EncryptData of each IN
//   kel_protect_cli decrypt PASSWORD-HEX IN OUT [IN OUT ...]   Kel_Utils_DecryptData of each IN
//   kel_protect_cli md5 FILE [FILE ...]                        Kel_Utils_Md5Hash, one hex line each
//
// Files are read and written in binary mode. The first failing call ends the run with exit code 1
// and "FILE: 0x%08X" on standard error.
#include "shared/kel_utils.h"

#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace
{
int Fail(const char* pWhat, Kel_StatusCode aStatus)
{
    fprintf(stderr, "%s: 0x%08X\n", pWhat, static_cast<unsigned>(aStatus));
    return 1;
}

// The file's bytes and one zero byte more, so that an empty file still has a valid pointer.
std::vector<uint8_t> ReadAll(const char* pPath)
{
    std::ifstream in(pPath, std::ios::binary);
    std::vector<uint8_t> data((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    data.push_back(0);
    return data;
}

int Run(const std::string& aCommand, const std::vector<uint8_t>& aPassword, const char* pIn, const char* pOut)
{
    std::vector<uint8_t> input = ReadAll(pIn);
    const auto size = static_cast<int32_t>(input.size() - 1);
    Kel_StatusCode status;
    if (aCommand == "md5")
    {
        uint8_t md5[16];
        if (Kel_IsBad(status = Kel_Utils_Md5Hash(input.data(), static_cast<uint32_t>(size), md5)))
            return Fail(pIn, status);
        for (uint8_t byte : md5)
            printf("%02x", byte);
        printf("\n");
        return 0;
    }
    Kel_Memory_Context source{}, dest{};
    Kel_Memory_CreateContext(&source, input.data(), size);
    Kel_Memory_Alloc(&dest, size);
    int32_t length = 0;
    const uint8_t* password = aPassword.data(); // a password of zero bytes still needs a valid pointer
    const auto passwordLength = static_cast<uint32_t>(aPassword.size() - 1);
    status = aCommand == "encrypt"
                 ? Kel_Utils_EncryptData(&source, size, password, passwordLength, &dest, &length)
                 : Kel_Utils_DecryptData(&source, size, password, passwordLength, &dest, &length);
    int result = Kel_IsBad(status) ? Fail(pIn, status) : 0;
    std::ofstream out(pOut, std::ios::binary);
    if (result == 0 && !out.write(reinterpret_cast<const char*>(dest.data), length))
        result = Fail(pOut, Kel_BadInternalError);
    Kel_Memory_Free(&dest);
    return result;
}
} // namespace

int main(int argc, char** argv)
{
    const std::string command = argc > 2 ? argv[1] : "";
    std::vector<uint8_t> password;
    for (size_t i = 0; command != "md5" && argc > 2 && i + 1 < strlen(argv[2]); i += 2)
        password.push_back(static_cast<uint8_t>(std::stoi(std::string(argv[2] + i, 2), nullptr, 16)));
    password.push_back(0);
    const int first = command == "md5" ? 2 : 3, step = command == "md5" ? 1 : 2;
    if ((command != "md5" && command != "encrypt" && command != "decrypt") || argc <= first ||
        (argc - first) % step != 0)
    {
        fprintf(stderr, "usage: kel_protect_cli encrypt|decrypt PASSWORD-HEX IN OUT [IN OUT ...]\n"
                        "       kel_protect_cli md5 FILE [FILE ...]\n");
        return 2;
    }
    for (int i = first; i < argc; i += step)
        if (Run(command, password, argv[i], step == 2 ? argv[i + 1] : nullptr) != 0)
            return 1;
    return 0;
}
