#include "check/ComTestClasses.h"

#include <objbase.h>

#include <algorithm>
#include <thread>

CComTest::CComTest() : m_hServer(::LoadLibraryW(ServerPath().c_str()))
{
    AddKeys(L"CLSID\\{5D0E6B20-3C44-4F0A-9A41-7B1C2D9E61FF}", L"\\InprocServer32", ServerPath());
    m_Keys.back()->SetText(L"ThreadingModel", L"Both");
    AddKeys(L"Interface\\{5D0E6B10-3C44-4F0A-9A41-7B1C2D9E6001}", L"\\ProxyStubClsid32",
            L"{5D0E6B20-3C44-4F0A-9A41-7B1C2D9E61FF}");
}

CComTest::~CComTest()
{
    while (!m_Keys.empty()) // a key before the one above it
        m_Keys.pop_back();
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

void CComTest::AddKeys(const std::wstring& sPath, const wchar_t* pSubKey, const std::wstring& sText)
{
    m_Keys.push_back(std::make_unique<CScratchKey>(L"Classes\\" + sPath));
    m_Keys.push_back(std::make_unique<CScratchKey>(L"Classes\\" + sPath + pSubKey));
    m_Keys.back()->SetText(nullptr, sText);
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
    wchar_t aClass[40] = L"";
    ::StringFromGUID2(info.clsid, aClass, 40);
    AddKeys(std::wstring(L"CLSID\\") + aClass, L"\\InprocServer32", sServer);
    if (!sModel.empty())
        m_Keys.back()->SetText(L"ThreadingModel", sModel);
    m_Keys.rbegin()[1]->SetText(L"Behavior", sBehavior);
    m_Keys.rbegin()[1]->SetText(L"Module", sModule);
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

CCheckRun RunComCheck(const std::vector<CComObjectInfo>& rInfos, bool bSxS, const std::wstring& sListFolder)
{
    const CTestFolder folder;
    const DWORD dwThread = ::GetCurrentThreadId();
    CCheckRun run;
    const std::jthread worker([&] {
        run = RunCheck([&](CResultLog& rLog, UINT32* pulFailed) {
            CComInfoChecker checker(rLog, sListFolder.empty() ? folder.Path() : sListFolder, rInfos);
            return checker.CheckComObjectInfos(bSxS, pulFailed);
        });
        ::PostThreadMessageW(dwThread, WM_QUIT, 0, 0);
    });
    for (MSG Message; ::GetMessageW(&Message, nullptr, 0, 0);)
        ::DispatchMessageW(&Message);
    EXPECT_EQ(run.hr, S_OK);
    return run;
}

void ExpectRun(const CCheckRun& rRun, const std::string& sSection)
{
    std::string sActual = "[" + sSection + "] " + std::to_string(rRun.nFailed) + "\n";
    for (const std::string& sLine : rRun.Lines)
        sActual += sLine + "\n";
    const std::string sAll = ReadBytes(TEST_DATA L"\\check\\ComRuns.txt");
    const std::size_t nStart = std::min(sAll.find("[" + sSection + "]"), sAll.size());
    EXPECT_EQ(sActual, sAll.substr(nStart, sAll.find("\n\n", nStart) + 1 - nStart)) << sSection;
}
