// Runs parts of the product by themselves and prints the seconds that each took, for scripts/bench:
//   kelvarin_bench hash FILE          the digest of FILE, in the processor's best form and in the portable one
//   kelvarin_bench check MANIFEST     the files of MANIFEST, as the main run checks them
//   kelvarin_bench load MANIFEST      loading MANIFEST, and the DOM's part of it alone
// The product's own log switches may stand on the command line as well.
#include <array>
#include <cstdio>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>

#include "check/FileInfoChecker.h"
#include "check/Sha1.h"
#include "config/ConfigFile.h"
#include "log/ResultLog.h"
#include "platform/ComInit.h"
#include "platform/Xml.h"

namespace
{

double Now()
{
    LARGE_INTEGER Ticks{}, Frequency{};
    ::QueryPerformanceCounter(&Ticks);
    ::QueryPerformanceFrequency(&Frequency);
    return static_cast<double>(Ticks.QuadPart) / static_cast<double>(Frequency.QuadPart);
}

template <typename Work>
double Time(const Work& work)
{
    const double fStart = Now();
    work();
    return Now() - fStart;
}

void Require(bool bGood, const char* pWhat)
{
    if (!bGood)
        throw std::runtime_error(pWhat);
}

// In the file checker's pieces.
void HashFile(const wchar_t* pPath, CSha1::Transform pTransform)
{
    static std::array<BYTE, 262144> s_aPiece;
    const CFileHandle hFile(
        ::CreateFileW(pPath, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    Require(static_cast<bool>(hFile), "cannot open the file");
    CSha1 sha(pTransform);
    DWORD dwRead = 0;
    while (::ReadFile(hFile.Get(), s_aPiece.data(), static_cast<DWORD>(s_aPiece.size()), &dwRead, nullptr) &&
           dwRead != 0)
        sha.Update({ s_aPiece.data(), dwRead });
    sha.Final();
}

void TimeHash(const wchar_t* pPath)
{
    const double fBest = Time([&] { HashFile(pPath, CSha1::BestTransform()); });
    const double fPortable = Time([&] { HashFile(pPath, CSha1::PortableTransform); });
    std::printf("%.6f %.6f\n", fBest, fPortable);
}

void TimeCheck(const wchar_t* pManifest)
{
    CConfigFile config;
    Require(SUCCEEDED(config.Load(pManifest)) && !config.m_FileInfos.empty(), "cannot load the manifest");
    CResultLog log;
    const std::wstring sResult = std::filesystem::path(pManifest).replace_extension(L".txt").wstring();
    Require(SUCCEEDED(log.Open(sResult, true)), "cannot open the result file");
    CFileInfoChecker checker(log, config.m_FileInfos);
    UINT32 ulFailed = 0;
    const double fTime = Time([&] { checker.CheckFileInfos(&ulFailed); });
    Require(ulFailed == 0, "files failed");
    std::printf("%.6f\n", fTime);
}

void TimeLoad(const wchar_t* pManifest)
{
    CConfigFile config;
    HRESULT hr = E_FAIL;
    const double fAll = Time([&] { hr = config.Load(pManifest); });
    Require(SUCCEEDED(hr), "cannot load the manifest");
    const double fDom = Time([&] {
        Microsoft::WRL::ComPtr<IXMLDOMDocument> pDocument;
        VARIANT_BOOL bLoaded = VARIANT_FALSE;
        Require(SUCCEEDED(CreateXmlDocument(CLSCTX_ALL, pDocument)) && SUCCEEDED(pDocument->put_async(VARIANT_FALSE)) &&
                    LoadXmlFile(pDocument.Get(), pManifest, bLoaded) == S_OK && bLoaded == VARIANT_TRUE,
                "the DOM did not load the manifest");
    });
    std::printf("%.6f %.6f\n", fAll, fDom);
}

} // namespace

int wmain(int argc, wchar_t** argv)
try
{
    const COpdComInit com;
    const std::wstring_view sWhat = argc > 2 ? argv[1] : L"";
    if (sWhat == L"hash")
        TimeHash(argv[2]);
    else if (sWhat == L"check")
        TimeCheck(argv[2]);
    else if (sWhat == L"load")
        TimeLoad(argv[2]);
    else
        Require(false, "hash, check or load, and a file");
    return 0;
}
catch (const std::exception& e)
{
    std::fprintf(stderr, "kelvarin_bench: %s\n", e.what());
    return 1;
}
