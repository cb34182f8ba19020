// Runs parts of the product by themselves and prints what they took, in milliseconds on one line; scripts/lib/bench.py
// asks for them and says what they mean. The product's own log switches may stand behind the arguments.
#include <array>
#include <cstdio>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "check/FileInfoChecker.h"
#include "check/Sha1.h"
#include "collect/CollectorUtil.h"
#include "config/ConfigFile.h"
#include "hardware/OpdHardwareTree.h"
#include "log/ResultLog.h"
#include "platform/ComInit.h"
#include "platform/Xml.h"
#include "support/FakePcDevices.h"

namespace
{

using Arguments = const wchar_t* const*;
using Figures = std::vector<double>;

double Now()
{
    LARGE_INTEGER Ticks{}, Frequency{};
    ::QueryPerformanceCounter(&Ticks);
    ::QueryPerformanceFrequency(&Frequency);
    return 1000.0 * static_cast<double>(Ticks.QuadPart) / static_cast<double>(Frequency.QuadPart);
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

// FILE: in the processor's best form, in the portable one.
Figures TimeHash(Arguments ppArguments)
{
    return { Time([&] { HashFile(ppArguments[0], CSha1::BestTransform()); }),
             Time([&] { HashFile(ppArguments[0], CSha1::PortableTransform); }) };
}

// MANIFEST: the check of its files.
Figures TimeCheck(Arguments ppArguments)
{
    CConfigFile config;
    Require(SUCCEEDED(config.Load(ppArguments[0])) && !config.m_FileInfos.empty(), "cannot load the manifest");
    CResultLog log;
    const std::wstring sResult = std::filesystem::path(ppArguments[0]).replace_extension(L".txt").wstring();
    Require(SUCCEEDED(log.Open(sResult, true)), "cannot open the result file");
    CFileInfoChecker checker(log, config.m_FileInfos);
    UINT32 ulFailed = 0;
    const double fTime = Time([&] { checker.CheckFileInfos(&ulFailed); });
    Require(ulFailed == 0, "files failed");
    return { fTime };
}

void LoadWithDomAlone(const wchar_t* pManifest)
{
    Microsoft::WRL::ComPtr<IXMLDOMDocument> pDocument;
    VARIANT_BOOL bLoaded = VARIANT_FALSE;
    Require(SUCCEEDED(CreateXmlDocument(CLSCTX_ALL, pDocument)) && SUCCEEDED(pDocument->put_async(VARIANT_FALSE)) &&
                LoadXmlFile(pDocument.Get(), pManifest, bLoaded) == S_OK && bLoaded == VARIANT_TRUE,
            "the DOM did not load the manifest");
}

// MANIFEST: its load, and the DOM's part of that. The first load of a process brings the DOM's library in, and the heap
// to its size.
Figures TimeLoad(Arguments ppArguments)
{
    LoadWithDomAlone(ppArguments[0]);
    CConfigFile config;
    const double fDom = Time([&] { LoadWithDomAlone(ppArguments[0]); });
    const double fAll = Time([&] { Require(SUCCEEDED(config.Load(ppArguments[0])), "cannot load the manifest"); });
    return { fAll, fDom };
}

// FILE COUNT: so many lines of a result file, about itself.
Figures TimeLines(Arguments ppArguments)
{
    const std::wstring sPath = ppArguments[0];
    CResultLog log;
    Require(SUCCEEDED(log.Open(sPath, false)), "cannot open the result file");
    return { Time([&] {
        for (int n = ::_wtoi(ppArguments[1]); n > 0; --n)
            log.WriteLine(L"Succeeded: Check File Info \"%s\"", sPath);
    }) };
}

// The calls that a listing cannot do without, and a row of the usual length for each file.
void ListBare(const std::wstring& sFolder, const std::wstring& sCsvPath)
{
    static constexpr char aRow[230] = {};
    const CFileHandle hCsv(::CreateFileW(sCsvPath.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr));
    WIN32_FIND_DATAW Entry;
    const CFindHandle hFind(::FindFirstFileW((sFolder + L"\\*").c_str(), &Entry));
    Require(hCsv && hFind, "cannot list the folder");
    while (::FindNextFileW(hFind.Get(), &Entry))
    {
        const std::wstring sPath = sFolder + L'\\' + Entry.cFileName;
        if ((::GetFileAttributesW(sPath.c_str()) & FILE_ATTRIBUTE_DIRECTORY) != 0)
            continue;
        const CFileHandle hFile(::CreateFileW(sPath.c_str(), 0, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
        FILETIME Creation, Access, Write;
        DWORD dwIgnored = 0;
        ::GetFileTime(hFile.Get(), &Creation, &Access, &Write);
        ::GetFileSize(hFile.Get(), nullptr);
        ::GetFileVersionInfoSizeW(sPath.c_str(), &dwIgnored);
        ::WriteFile(hCsv.Get(), aRow, sizeof aRow, &dwIgnored, nullptr);
    }
}

// FOLDER CSV: the listing, the bare calls.
Figures TimeListing(Arguments ppArguments)
{
    return { Time([&] { CCollectorUtil::OutputVlmFileList(ppArguments[0], ppArguments[1]); }),
             Time([&] { ListBare(ppArguments[0], ppArguments[1]); }) };
}

// FILE COUNT: the device tree of a PC with so many nodes, in brief and in detail.
Figures TimeTree(Arguments ppArguments)
{
    constexpr DEVINST Children = 10;
    const CFakeNode node{ .Properties = { { CM_DRP_DEVICEDESC, FakeText(L"A device") },
                                          { CM_DRP_CAPABILITIES, { REG_DWORD, std::string("\4\0\0\0", 4) } } } };
    CFakePcDevices pc;
    for (int n = 0; n < ::_wtoi(ppArguments[1]); ++n)
        pc.Add((static_cast<DEVINST>(n) + Children - 1) / Children, node);
    return { Time([&] {
        for (const bool bBrief : { true, false })
            Require(COpdHardwareTree().DumpDeviceTree(ppArguments[0], bBrief) == S_OK, "the dump failed");
    }) };
}

double TimeChild(std::wstring sCommand)
{
    STARTUPINFOW Start{};
    Start.cb = sizeof Start;
    PROCESS_INFORMATION Process{};
    return Time([&] {
        ::CreateProcessW(nullptr, sCommand.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &Start, &Process);
        const CKernelHandle hProcess(Process.hProcess), hThread(Process.hThread);
        Require(::WaitForSingleObject(hProcess.Get(), INFINITE) == WAIT_OBJECT_0, "cannot start the child");
    });
}

// COMMAND COMMAND: two children, from the start to the end of each. There is a desktop, as with a parent that shows a
// window, and the programs' files are in memory.
Figures TimeChildren(Arguments ppArguments)
{
    ::GetDesktopWindow();
    TimeChild(ppArguments[0]);
    return { TimeChild(ppArguments[0]), TimeChild(ppArguments[1]) };
}

constexpr struct
{
    std::wstring_view sName;
    Figures (*pTime)(Arguments);
} Parts[] = {
    { L"hash", TimeHash },       { L"check", TimeCheck }, { L"load", TimeLoad },         { L"lines", TimeLines },
    { L"listing", TimeListing }, { L"tree", TimeTree },   { L"children", TimeChildren },
};

} // namespace

int wmain(int argc, wchar_t** argv)
try
{
    const COpdComInit com;
    for (const auto& rPart : Parts)
    {
        if (argc < 3 || rPart.sName != argv[1])
            continue;
        for (const double fFigure : rPart.pTime(argv + 2))
            std::printf("%.3f ", fFigure);
    }
    return 0;
}
catch (const std::exception& e)
{
    std::fprintf(stderr, "kelvarin_bench: %s\n", e.what());
    return 1;
}
