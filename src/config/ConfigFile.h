// The manifest Kelvarin.xml as plain records, with everything filtered out that does not apply to this PC.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "platform/Handle.h"

struct IXMLDOMDocument;
class CFunctionLog;
class CXmlElement;

// An expected file. A text other than the path is empty where the manifest leaves the test out.
struct CFileInfo
{
    std::wstring sPath;
    std::wstring sVersion;
    std::wstring sSize;             // decimal
    std::wstring sSha1;             // base64
    std::wstring sDigitalSignature; // simple display name
};

// Expected bytes in a block from CoTaskMemAlloc.
class CDataBlock
{
public:
    // A zeroed block of nLength bytes; throws std::bad_alloc when there is no memory.
    void Allocate(DWORD nLength);
    DWORD Length() const { return m_nLength; }
    BYTE* Data() const { return m_pData.Get(); }

private:
    DWORD m_nLength = 0;
    CTaskBlock m_pData;
};

// An expected registry value.
struct CRegistryInfo
{
    HKEY hRootKey = nullptr;   // null when the key's path begins with no known root
    std::wstring sRootKeyName; // "HKEY_LOCAL_MACHINE"
    std::wstring sKeyPath;
    std::wstring sValueName; // empty: the key's default value
    DWORD dwType = REG_NONE; // REG_SZ, REG_BINARY, REG_DWORD or REG_QWORD
    CDataBlock Data;         // as the registry returns it
    bool bWow64Key = false;  // look in the 64-bit view
};

// A COM object or DirectShow filter that must work.
struct CComObjectInfo
{
    enum RegType : INT32
    {
        RegType_Normal,
        RegType_Sxs,
        RegType_SxsDummy
    };
    enum Apartment : INT32
    {
        Apartment_Sta,
        Apartment_Mta,
        Apartment_Both
    };

    std::wstring sName;
    CLSID clsid{};
    std::map<std::wstring, IID> Interfaces; // by name
    INT32 nApartment = Apartment_Both;
    bool bAllApartments = true; // test both whatever nApartment says
    INT32 nRegType = RegType_Normal;
    std::wstring sFilePath;
};

// A COM object that must not be registered from the given file.
struct CNoRegisteredComObjectInfo
{
    std::wstring sName;
    CLSID clsid{};
    std::wstring sPath;
};

class CConfigFile
{
public:
    // The processor that the system runs on.
    enum Machine : UINT32
    {
        Machine_Other,
        Machine_X86,
        Machine_X64
    };

    // Reads the manifest, on a thread that has started COM. Called once; after a failure the object holds what was
    // loaded so far.
    HRESULT Load(const std::wstring& sPath);

    // True for a side-by-side variant.
    bool IsSxS() const;

    // Environment of the manifest.
    std::wstring m_sSxsId;
    std::wstring m_sRegistryPath;
    std::wstring m_sRepositoryDirPath;
    std::wstring m_sNuvexDirPath;
    WORD m_wLanguage = 0; // primary language of the user's locale
    std::wstring m_sSystemDirPath;
    std::wstring m_sInstallerDirPath;
    std::wstring m_sProgramDirPath;
    UINT32 m_nMachine = Machine_Other;
    bool m_bWow64 = false;

    // The records, in the order of the manifest; COM objects before DirectShow filters.
    std::vector<CFileInfo> m_FileInfos;
    std::vector<CRegistryInfo> m_RegistryInfos;
    std::vector<std::wstring> m_NtServiceInfos;
    std::vector<CComObjectInfo> m_ComObjectInfos;
    std::vector<CNoRegisteredComObjectInfo> m_NoRegisteredComObjectInfos;

    // True when one of the blank-separated words of the list is this manifest's sxs-id.
    bool IsTargetSxs(const std::wstring& sList) const;
    // Replaces the tokens "?[nuvex]?", "?[repository]?", "?[system]?", "?[installer]?" and "?[program]?".
    void ExpandPathTokens(std::wstring& rsText) const;

private:
    struct CValueTexts;

    HRESULT LoadEnvironment(IXMLDOMDocument* pDocument);
    void LoadRootAttributes(const CFunctionLog& log, IXMLDOMDocument* pDocument);
    void LoadInstalledLocations(const CFunctionLog& log);
    void LoadSxsLocations(const CFunctionLog& log);
    void LoadInstallerLocation(const CFunctionLog& log);
    void LoadMachine(const CFunctionLog& log);

    HRESULT LoadFileInfos(IXMLDOMDocument* pDocument);
    HRESULT LoadRegistryInfos(IXMLDOMDocument* pDocument);
    HRESULT LoadRegistryKeyInfo(const CXmlElement& rKey, CRegistryInfo& rInfo);
    HRESULT LoadRegistryKeyValue(const CXmlElement& rValue, CValueTexts& rTexts, CRegistryInfo& rInfo);
    HRESULT LoadNtServiceInfos(IXMLDOMDocument* pDocument);
    HRESULT LoadComObjectInfos(IXMLDOMDocument* pDocument);
    HRESULT LoadDsFilterObjectInfos(IXMLDOMDocument* pDocument);
    HRESULT LoadNoRegisteredComObjectInfos(IXMLDOMDocument* pDocument);

    bool PassesFilter(const std::wstring& sSxsIds) const { return sSxsIds.empty() || IsTargetSxs(sSxsIds); }
    bool PassesMachine(const std::wstring& sMachine) const;
    bool PassesLanguage(const std::wstring& sLanguages) const;
};
