#include "check/ComTestClasses.h"

#include <algorithm>
#include <thread>

#include "check/CheckRun.h"
#include "check/ComInfoChecker.h"
#include "platform/CodePage.h"
#include "platform/GuidText.h"

CComTest::CComTest() : m_hServer(::LoadLibraryW(ServerPath().c_str()))
{
    constexpr const wchar_t* Proxy = L"{5D0E6B20-3C44-4F0A-9A41-7B1C2D9E61FF}";
    AddKey(std::wstring(L"CLSID\\") + Proxy, L"InprocServer32", ServerPath(), L"Both");
    AddKey(L"Interface\\" + TextOfGuid(IidIdentity), L"ProxyStubClsid32", Proxy);
}

CComTest::~CComTest()
{
    ::FreeLibrary(m_hServer);
}

std::wstring CComTest::ServerPath()
{
    std::wstring sPath = SAMPLE_OBJECTS; // with the build system's slashes
    std::ranges::replace(sPath, L'/', L'\\');
    return sPath;
}

LONG CComTest::AliveObjects() const
{
    return reinterpret_cast<LONG(WINAPI*)()>(reinterpret_cast<void*>(::GetProcAddress(m_hServer, "VlmObjectCount")))();
}

CScratchKey& CComTest::AddKey(const std::wstring& sPath, const wchar_t* pSubKey, const std::wstring& sText,
                              const std::wstring& sModel)
{
    CScratchKey& rKey = m_Keys.emplace_back(L"Classes\\" + sPath);
    const auto set = [&](const wchar_t* pName, const std::wstring& sValue) {
        ::RegSetKeyValueW(rKey.Get(), pSubKey, pName, REG_SZ, sValue.c_str(), (sValue.size() + 1) * sizeof(wchar_t));
    };
    set(nullptr, sText);
    if (!sModel.empty())
        set(L"ThreadingModel", sModel);
    return rKey;
}

CComObjectInfo CComTest::Unregistered(const std::wstring& sName)
{
    CComObjectInfo info;
    info.sName = sName;
    info.clsid = { 0x5D0E6B30, 0x3C44, 0x4F0A, { 0x9A, 0x41, 0x7B, 0x1C, 0x2D, 0x9E, 0x60, ++m_nClasses } };
    info.Interfaces = { { L"IPersist", IID_IPersist }, { L"IVlmIdentity", IidIdentity } };
    info.sFilePath = L"ANYWHERE";
    return info;
}

CComObjectInfo CComTest::Add(const std::wstring& sName, const std::wstring& sModel, const std::wstring& sBehavior,
                             const std::wstring& sServer, const std::wstring& sModule)
{
    CComObjectInfo info = Unregistered(sName);
    const CScratchKey& rKey = AddKey(L"CLSID\\" + TextOfGuid(info.clsid), L"InprocServer32", sServer, sModel);
    rKey.SetText(L"Behavior", sBehavior);
    rKey.SetText(L"Module", sModule);
    return info;
}

CComObjectInfo CComTest::AddFilter(const std::wstring& sName, const std::wstring& sBehavior,
                                   const std::wstring& sModule)
{
    CComObjectInfo info = Add(sName, L"Both", sBehavior, ServerPath(), sModule);
    info.nApartment = CComObjectInfo::Apartment_Sta;
    info.bAllApartments = false;
    return info;
}

std::string RunComCheck(const ComInfos& rInfos, bool bSxS, const std::wstring& sListFolder)
{
    const CTestFolder folder;
    const DWORD dwThread = ::GetCurrentThreadId();
    std::string sRun;
    const std::jthread worker([&] {
        sRun = RunCheck([&](CResultLog& rLog, UINT32* pulFailed) {
            CComInfoChecker checker(rLog, sListFolder.empty() ? folder.Path() : sListFolder, rInfos);
            return checker.CheckComObjectInfos(bSxS, pulFailed);
        });
        ::PostThreadMessageW(dwThread, WM_QUIT, 0, 0);
    });
    for (MSG Message; ::GetMessageW(&Message, nullptr, 0, 0);)
        ::DispatchMessageW(&Message);
    return sRun;
}

void ExpectRun(const std::string& sName, const ComInfos& rInfos, bool bSxS, const std::wstring& sListFolder)
{
    ExpectGolden(L"check/com/" + ToWide(sName) + L".txt", RunComCheck(rInfos, bSxS, sListFolder), L"");
}
