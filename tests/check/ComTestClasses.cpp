#include "check/ComTestClasses.h"

#include <objbase.h>

#include "opdutility/OpdThread.h"
#include "platform/Format.h"

namespace
{

constexpr const wchar_t* ProxyClass = L"{5D0E6B20-3C44-4F0A-9A41-7B1C2D9E61FF}";
constexpr const wchar_t* IdentityInterface = L"{5D0E6B10-3C44-4F0A-9A41-7B1C2D9E6001}";

std::wstring Text(const GUID& rGuid)
{
    wchar_t aText[40] = L"";
    ::StringFromGUID2(rGuid, aText, 40);
    return aText;
}

std::wstring ClassKey(const std::wstring& sClsid)
{
    return L"Classes\\CLSID\\" + sClsid;
}

struct CCheckThread
{
    const std::vector<CComObjectInfo>& rInfos;
    bool bSxS;
    const std::wstring& sListFolder;
    CResultLog& rLog;
    UINT32* pulFailed;
    HRESULT hr = E_FAIL;

    unsigned Main()
    {
        hr = CComInfoChecker(rLog, sListFolder, rInfos).CheckComObjectInfos(bSxS, pulFailed);
        return 0;
    }
};

} // namespace

CComTestClasses::CComTestClasses()
    : m_hServer(::LoadLibraryW(ServerPath().c_str())),
      m_Proxy(ClassKey(ProxyClass)),
      m_ProxyServer(ClassKey(ProxyClass) + L"\\InprocServer32"),
      m_Interface(std::wstring(L"Classes\\Interface\\") + IdentityInterface),
      m_InterfaceProxy(std::wstring(L"Classes\\Interface\\") + IdentityInterface + L"\\ProxyStubClsid32")
{
    m_ProxyServer.SetText(nullptr, ServerPath());
    m_ProxyServer.SetText(L"ThreadingModel", L"Both");
    m_InterfaceProxy.SetText(nullptr, ProxyClass);
}

CComTestClasses::~CComTestClasses()
{
    while (!m_Keys.empty()) // a key before the one above it
        m_Keys.pop_back();
    ::FreeLibrary(m_hServer);
}

std::wstring CComTestClasses::ServerPath()
{
    std::wstring sPath = SAMPLE_OBJECTS; // with the build system's slashes
    for (wchar_t& rChar : sPath)
        rChar = rChar == L'/' ? L'\\' : rChar;
    return sPath;
}

LONG CComTestClasses::AliveObjects() const
{
    return reinterpret_cast<LONG(WINAPI*)()>(reinterpret_cast<void*>(::GetProcAddress(m_hServer, "VlmObjectCount")))();
}

CComObjectInfo CComTestClasses::Unregistered(const std::wstring& sName)
{
    CComObjectInfo info;
    info.sName = sName;
    EXPECT_EQ(::CoCreateGuid(&info.clsid), S_OK);
    info.Interfaces = { { L"IPersist", IidPersist }, { L"IVlmIdentity", IidIdentity } };
    info.sFilePath = L"ANYWHERE";
    return info;
}

CComObjectInfo CComTestClasses::Add(const std::wstring& sName, const std::wstring& sModel,
                                    const std::wstring& sBehavior, const std::wstring& sServer,
                                    const std::wstring& sModule)
{
    CComObjectInfo info = Unregistered(sName);
    const std::wstring sKey = ClassKey(Text(info.clsid));
    m_Keys.push_back(std::make_unique<CScratchKey>(sKey));
    m_Keys.back()->SetText(L"Behavior", sBehavior);
    m_Keys.back()->SetText(L"Module", sModule);
    m_Keys.push_back(std::make_unique<CScratchKey>(sKey + L"\\InprocServer32"));
    m_Keys.back()->SetText(nullptr, sServer);
    if (!sModel.empty())
        m_Keys.back()->SetText(L"ThreadingModel", sModel);
    return info;
}

CComObjectInfo CComTestClasses::AddFilter(const std::wstring& sName, const std::wstring& sBehavior)
{
    CComObjectInfo info = Add(sName, L"Both", sBehavior);
    info.nApartment = CComObjectInfo::Apartment_Sta;
    info.bAllApartments = false;
    return info;
}

CCheckRun RunComCheck(const std::vector<CComObjectInfo>& rInfos, bool bSxS, const std::wstring& sListFolder)
{
    const CTestFolder folder;
    return RunCheck([&](CResultLog& rLog, UINT32* pulFailed) {
        CCheckThread check{ rInfos, bSxS, sListFolder.empty() ? folder.Path() : sListFolder, rLog, pulFailed };
        const auto pThread = OpdBeginThread(&check, &CCheckThread::Main);
        // The platform sends a message for each object that is to live here; the program's own wait does not wake for
        // those.
        const HANDLE hThread = pThread->GetThreadHandle();
        while (::MsgWaitForMultipleObjects(1, &hThread, FALSE, INFINITE, QS_ALLINPUT) != WAIT_OBJECT_0)
        {
            MSG Message;
            while (::PeekMessageW(&Message, nullptr, 0, 0, PM_REMOVE))
                ::DispatchMessageW(&Message);
        }
        return check.hr;
    });
}

std::string Worked(const std::string& sApartment, const CComObjectInfo& rInfo)
{
    return "Succeeded: Check COM Object Info. [" + sApartment + "][name:\"" + Utf8(rInfo.sName) + "\"]";
}

std::string NotCreated(const std::string& sApartment, const CComObjectInfo& rInfo, HRESULT hr)
{
    return Utf8(FormatText(L"Failed: CoCreateInstance() failed.[0x%08X]", hr)) + "[" + sApartment + "][name:\"" +
           Utf8(rInfo.sName) + "\" " + Utf8(Text(rInfo.clsid)) + "]";
}

std::string Threw(const std::string& sWay, const CComObjectInfo& rInfo)
{
    return "Failed: Unknown exception.[" + sWay + (sWay.size() > 3 ? "][clsid:\"" : "][name:\"") + Utf8(rInfo.sName) +
           "\"]";
}

std::string Refused(const std::string& sWay, const CComObjectInfo& rInfo, const std::wstring& sInterface, HRESULT hr)
{
    return Utf8(FormatText(L"Failed: QueryInterface() failed.[0x%08X]", hr)) + "[" + sWay + "][clsid:\"" +
           Utf8(rInfo.sName) + "\" " + Utf8(Text(rInfo.clsid)) + ", iid:\"" + Utf8(sInterface) + "\" " +
           Utf8(Text(rInfo.Interfaces.at(sInterface))) + "]";
}

std::string Answered(const std::string& sWay, const CComObjectInfo& rInfo, const std::wstring& sInterface)
{
    return "Succeeded: Check Interface. [" + sWay + "][clsid:\"" + Utf8(rInfo.sName) + "\" iid:\"" + Utf8(sInterface) +
           "\"]";
}

Lines AllWell(const std::string& sApartment, const CComObjectInfo& rInfo)
{
    Lines all;
    for (const char* const pTo : { " -> MTA", " -> STA" })
    {
        for (const auto& [sInterface, iid] : rInfo.Interfaces)
            all.push_back(Answered(sApartment + pTo, rInfo, sInterface));
    }
    all.push_back(Worked(sApartment, rInfo));
    return all;
}

Lines AllWell(const CComObjectInfo& rInfo)
{
    return AllWell("MTA", rInfo) + AllWell("STA", rInfo);
}

Lines operator+(Lines left, const Lines& rRight)
{
    left.insert(left.end(), rRight.begin(), rRight.end());
    return left;
}
