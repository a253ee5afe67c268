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
#include <string>
#include <vector>

namespace
{
bool ReadAll(const char* pPath, std::vector<uint8_t>& aData)
{
    FILE* file = fopen(pPath, "rb");
    if (file == nullptr)
        return false;
    aData.clear();
    uint8_t chunk[4096];
    size_t got;
    while ((got = fread(chunk, 1, sizeof(chunk), file)) > 0)
        aData.insert(aData.end(), chunk, chunk + got);
    const bool ok = ferror(file) == 0;
    fclose(file);
    return ok;
}

bool WriteAll(const char* pPath, const uint8_t* pData, size_t aSize)
{
    FILE* file = fopen(pPath, "wb");
    if (file == nullptr)
        return false;
    const bool ok = fwrite(pData, 1, aSize, file) == aSize;
    return fclose(file) == 0 && ok;
}

bool FromHex(const char* pText, std::vector<uint8_t>& aBytes)
{
    const size_t length = strlen(pText);
    if (length % 2 != 0)
        return false;
    aBytes.clear();
    for (size_t i = 0; i < length; i += 2)
    {
        unsigned value = 0;
        if (sscanf(pText + i, "%2x", &value) != 1)
            return false;
        aBytes.push_back(static_cast<uint8_t>(value));
    }
    return true;
}

int Fail(const char* pWhat, Kel_StatusCode aStatus)
{
    fprintf(stderr, "%s: 0x%08X\n", pWhat, static_cast<unsigned>(aStatus));
    return 1;
}

int Crypt(bool aEncrypt, const std::vector<uint8_t>& aPassword, const char* pIn, const char* pOut)
{
    std::vector<uint8_t> input;
    if (!ReadAll(pIn, input))
        return Fail(pIn, Kel_BadInternalError);
    Kel_Memory_Context source{};
    Kel_Memory_Context dest{};
    const int32_t size = static_cast<int32_t>(input.size());
    if (Kel_IsBad(Kel_Memory_Alloc(&source, size)) || Kel_IsBad(Kel_Memory_Alloc(&dest, size)))
        return Fail(pIn, Kel_BadOutOfMemory);
    if (size > 0)
        memcpy(source.data, input.data(), input.size());
    // A password of zero bytes still needs a valid pointer.
    const uint8_t none = 0;
    const uint8_t* password = aPassword.empty() ? &none : aPassword.data();
    int32_t length = 0;
    const Kel_StatusCode status =
        aEncrypt ? Kel_Utils_EncryptData(&source, size, password, static_cast<uint32_t>(aPassword.size()),
                                         &dest, &length)
                 : Kel_Utils_DecryptData(&source, size, password, static_cast<uint32_t>(aPassword.size()),
                                         &dest, &length);
    int result = 0;
    if (Kel_IsBad(status))
        result = Fail(pIn, status);
    else if (!WriteAll(pOut, dest.data, static_cast<size_t>(length)))
        result = Fail(pOut, Kel_BadInternalError);
    Kel_Memory_Free(&source);
    Kel_Memory_Free(&dest);
    return result;
}

int Digest(const char* pPath)
{
    std::vector<uint8_t> input;
    if (!ReadAll(pPath, input))
        return Fail(pPath, Kel_BadInternalError);
    input.push_back(0); // a valid pointer for an empty file; not hashed
    uint8_t md5[16];
    const Kel_StatusCode status =
        Kel_Utils_Md5Hash(input.data(), static_cast<uint32_t>(input.size() - 1), md5);
    if (Kel_IsBad(status))
        return Fail(pPath, status);
    for (uint8_t byte : md5)
        printf("%02x", byte);
    printf("\n");
    return 0;
}

int Usage()
{
    fprintf(stderr, "usage: kel_protect_cli encrypt|decrypt PASSWORD-HEX IN OUT [IN OUT ...]\n"
                    "       kel_protect_cli md5 FILE [FILE ...]\n");
    return 2;
}
} // namespace

int main(int argc, char** argv)
{
    if (argc < 3)
        return Usage();
    const std::string command = argv[1];
    if (command == "md5")
    {
        for (int i = 2; i < argc; ++i)
            if (Digest(argv[i]) != 0)
                return 1;
        return 0;
    }
    if (command != "encrypt" && command != "decrypt")
        return Usage();
    std::vector<uint8_t> password;
    if (argc < 5 || (argc - 3) % 2 != 0 || !FromHex(argv[2], password))
        return Usage();
    for (int i = 3; i < argc; i += 2)
        if (Crypt(command == "encrypt", password, argv[i], argv[i + 1]) != 0)
            return 1;
    return 0;
}
