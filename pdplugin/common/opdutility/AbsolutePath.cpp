#include <algorithm>
#include <cwchar>

#include "log/FunctionLog.h"
#include "opdutility/OpdFileHelper.h"

namespace
{

// Replaces sWhat until none is left; what a replacement brings together counts again.
void ReplaceRepeatedly(std::wstring& rsText, std::wstring_view sWhat, std::wstring_view sBy)
{
    std::size_t n = 0;
    while ((n = rsText.find(sWhat, n)) != rsText.npos)
    {
        rsText.replace(n, sWhat.size(), sBy);
        n -= std::min(n, sWhat.size());
    }
}

bool HasDrive(const std::wstring& sPath)
{
    return sPath.size() >= 2 && sPath[0] >= L'a' && sPath[0] <= L'z' && sPath[1] == L':';
}

std::wstring CurrentDirectory(const CFunctionLog& log)
{
    const DWORD nLength = ::GetCurrentDirectoryW(0, nullptr);
    std::wstring sPath(nLength, L'\0');
    const DWORD nCopied = nLength == 0 ? 0 : ::GetCurrentDirectoryW(nLength, sPath.data());
    if (nCopied == 0 || nCopied >= nLength)
        log.Throw(E_FAIL, L"GetCurrentDirectory() failed.[%u", ::GetLastError());
    sPath.resize(nCopied);
    ::_wcslwr_s(sPath.data(), sPath.size() + 1);
    return sPath;
}

// "\..\" takes away the name before it, from the left.
void ResolveParents(const CFunctionLog& log, const std::wstring& sGiven, std::wstring& rsPath)
{
    constexpr std::wstring_view sParent = L"\\..\\";
    std::size_t n = 0;
    while ((n = rsPath.find(sParent, n)) != rsPath.npos)
    {
        const std::size_t nCut = n == 0 ? rsPath.npos : rsPath.rfind(L'\\', n - 1);
        if (nCut == rsPath.npos)
            log.Throw(E_FAIL, L"Invalid File Path.[%s]", sGiven);
        rsPath.erase(nCut, n + 3 - nCut);
        n = nCut;
    }
}

} // namespace

HRESULT COpdFileHelper::GetAbsolutePath(const std::wstring& sPath, std::wstring& rsAbsolute)
{
    CFunctionLog log;
    return log.Run([&] {
        constexpr std::wstring_view sLongPrefix = L"\\\\?\\";
        std::wstring sResult = sPath;
        ::_wcslwr_s(sResult.data(), sResult.size() + 1);
        const bool bLongPrefix = sResult.starts_with(sLongPrefix);
        if (bLongPrefix)
            sResult.erase(0, sLongPrefix.size());
        if (!HasDrive(sResult))
            sResult = CurrentDirectory(log) + L'\\' + sResult;
        for (wchar_t& c : sResult)
            c = c == L'/' ? L'\\' : c;
        ReplaceRepeatedly(sResult, L"\\\\", L"\\");
        ReplaceRepeatedly(sResult, L"\\.\\", L"\\");
        ResolveParents(log, sPath, sResult);
        rsAbsolute = bLongPrefix ? std::wstring(sLongPrefix) + sResult : sResult;
    });
}
