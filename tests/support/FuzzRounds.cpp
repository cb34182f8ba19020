#include "support/FuzzRounds.h"

#include <algorithm>
#include <cstring>

#include "app/CmdLineParam.h"
#include "platform/Path.h"
#include "support/ImportPatch.h"

namespace
{

template <typename Result, Result Value, typename... Args>
Result WINAPI Always(Args...)
{
    return Value;
}

// Blocks that operator new does not make get their guard page too.
HGLOBAL WINAPI Alloc(UINT, SIZE_T nSize)
{
    return std::memset(::operator new(nSize), 0, nSize);
}
HGLOBAL WINAPI Free(HGLOBAL hBlock)
{
    ::operator delete(hBlock);
    return nullptr;
}

} // namespace

struct CFuzz::CPatches
{
    CImportPatch<DWORD WINAPI(HANDLE, DWORD)> wait{ "WaitForSingleObject", Always<DWORD, WAIT_OBJECT_0> };
    CImportPatch<BOOL WINAPI(HANDLE)> release{ "ReleaseMutex", Always<BOOL, TRUE> };
    CImportPatch<DWORD WINAPI(LPCWSTR)> attributes{ "GetFileAttributesW", Always<DWORD, INVALID_FILE_ATTRIBUTES> };
    CImportPatch<decltype(Alloc)> alloc{ "GlobalAlloc", Alloc };
    CImportPatch<decltype(Free)> free{ "GlobalFree", Free };
};

CFuzz::CFuzz(unsigned nSeed, CFakePcIo& rIo) : Random(nSeed), m_rIo(rIo), m_pPatches(std::make_unique<CPatches>())
{
    std::wstring sPath;
    CCmdLineParam::OfThisProcess().GetResultDirPath(sPath);
    rIo.Add(JoinPath(sPath, L"Kelvarin.log"), nullptr); // nor is there another one
}

CFuzz::~CFuzz() = default;

void CFuzz::NextRound()
{
    m_rIo.Openings.clear();
    // Small numbers get further, as lengths, types and counts.
    const unsigned nValues = Random() % 3 == 0 ? 256 : 13;
    m_sGarbage.resize(1021);
    std::ranges::generate(m_sGarbage, [&] { return static_cast<char>(Random() % nValues); });
}

std::string CFuzz::Garbage(std::size_t nSize) const
{
    std::string sBytes;
    while (sBytes.size() < nSize)
        sBytes += m_sGarbage;
    return sBytes.substr(0, nSize);
}

void CFuzz::Tamper(CFakeRequest& rRequest, DWORD& rdwError)
{
    const std::span<BYTE> Out = rRequest.Out;
    const auto nKind = Random() % 40;
    if (nKind == 0)
        rdwError = Random() % 2 == 0 ? ERROR_GEN_FAILURE : ERROR_INSUFFICIENT_BUFFER;
    else if (nKind == 1)
        rRequest.dwReturned = Random() % 2 == 0 ? Random() % 300 : Random();
    else if (nKind < 8 && !Out.empty())
        Out[Random() % std::min<std::size_t>(Out.size(), 200)] = static_cast<BYTE>(Random());
    else if (nKind < 20)
    {
        std::ranges::copy(Garbage(Out.size()), Out.begin());
        rRequest.dwReturned = static_cast<DWORD>(Out.size());
        rdwError = ERROR_SUCCESS;
    }
    // Whatever a hub says of its ports, the tree of a PC ends.
    if (rRequest.dwCode == 0x220408 && Out.size() == 76)
        Out[6] %= 8;
}
