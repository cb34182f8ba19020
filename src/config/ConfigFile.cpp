// The load as a whole, and the sections of files, services and unregistered objects.
#include "config/ConfigFile.h"

#include <algorithm>
#include <new>

#include "config/ComNameTable.h"
#include "config/XmlWalk.h"
#include "log/FunctionLog.h"
#include "platform/Path.h"

using Microsoft::WRL::ComPtr;

void CDataBlock::Allocate(DWORD nLength)
{
    // A block of no bytes is still a block.
    m_pData.Attach(static_cast<BYTE*>(::CoTaskMemAlloc(std::max(nLength, DWORD{ 1 }))));
    if (!m_pData)
        throw std::bad_alloc();
    m_nLength = nLength;
    std::fill_n(m_pData.Get(), nLength, BYTE{ 0 });
}

namespace
{

ComPtr<IXMLDOMDocument> LoadDocument(const CFunctionLog& log, const std::wstring& sPath)
{
    ComPtr<IXMLDOMDocument> pXmlDoc;
    log.Check(CreateXmlDocument(CLSCTX_ALL, pXmlDoc), L"pXmlDoc.CoCreateInstance() failed.[0x%08X]");
    HRESULT hr = pXmlDoc->put_async(VARIANT_FALSE);
    if (hr != S_OK)
        log.Fail(E_FAIL, L"pXmlDoc->put_async( false ) failed.[0x%08X]", hr);
    VARIANT_BOOL bLoaded = VARIANT_FALSE;
    hr = LoadXmlFile(pXmlDoc.Get(), sPath, bLoaded);
    if (hr != S_OK) // S_FALSE is the DOM's word for a text that is no XML
        log.Fail(E_FAIL, L"pXmlDoc->load( \"%s\" ) failed.[0x%08X]", sPath, hr);
    if (bLoaded != VARIANT_TRUE)
        log.Fail(E_FAIL, L"pXmlDoc->load( \"%s\" ) failed. result != VARIANT_TRUE", sPath);
    return pXmlDoc;
}

} // namespace

HRESULT CConfigFile::Load(const std::wstring& sPath)
{
    static constexpr struct
    {
        const wchar_t* pName;
        HRESULT (CConfigFile::*pLoad)(IXMLDOMDocument*);
    } aSteps[] = {
        { L"LoadEnvironment", &CConfigFile::LoadEnvironment },
        { L"LoadFileInfos", &CConfigFile::LoadFileInfos },
        { L"LoadRegistryInfos", &CConfigFile::LoadRegistryInfos },
        { L"LoadNtServiceInfos", &CConfigFile::LoadNtServiceInfos },
        { L"LoadComObjectInfos", &CConfigFile::LoadComObjectInfos },
        { L"LoadDsFilterObjectInfos", &CConfigFile::LoadDsFilterObjectInfos },
        { L"LoadNoRegisteredComObjectInfos", &CConfigFile::LoadNoRegisteredComObjectInfos },
    };
    CFunctionLog log;
    return log.Run([&] {
        const ComPtr<IXMLDOMDocument> pXmlDoc = LoadDocument(log, sPath);
        for (const auto& rStep : aSteps)
        {
            const HRESULT hr = (this->*rStep.pLoad)(pXmlDoc.Get());
            if (FAILED(hr))
                log.Fail(hr, L"%s() failed.[0x%08X] \"%s\"", rStep.pName, hr, sPath);
        }
    });
}

HRESULT CConfigFile::LoadFileInfos(IXMLDOMDocument* pDocument)
{
    CFunctionLog log;
    return log.Run([&] {
        std::wstring sDirName, sDirSxsIds, sName, sSxsIds;
        CFileInfo info;
        const CAttributeTable DirectoryAttributes{ { L"name", &sDirName }, { L"sxs-id", &sDirSxsIds } };
        const CAttributeTable FileAttributes{ { L"name", &sName },
                                              { L"version", &info.sVersion },
                                              { L"size", &info.sSize },
                                              { L"sha1", &info.sSha1 },
                                              { L"digital-signature", &info.sDigitalSignature },
                                              { L"sxs-id", &sSxsIds } };
        const auto LoadFile = [&](const CXmlElement& rFile) {
            FileAttributes.Read(log, rFile);
            if (!PassesFilter(sSxsIds))
                return;
            info.sPath = JoinPath(sDirName, sName);
            m_FileInfos.push_back(std::move(info)); // the next reading fills every text again
        };
        const std::wstring sPattern = L"/installchecker/file-infos/directory";
        WalkElements(log, pDocument, sPattern, sPattern, { L"pDirectoryNodeList", L"pDirectoryNode" },
                     [&](const CXmlElement& rDirectory) {
                         DirectoryAttributes.Read(log, rDirectory);
                         ExpandPathTokens(sDirName);
                         if (PassesFilter(sDirSxsIds))
                             WalkElements(log, rDirectory.Get(), L"file", rDirectory.Pattern() + L"/file",
                                          { L"pFilesNodeList", L"pFileNode" }, LoadFile);
                     });
    });
}

HRESULT CConfigFile::LoadNtServiceInfos(IXMLDOMDocument* pDocument)
{
    CFunctionLog log;
    return log.Run([&] {
        std::wstring sName;
        const CAttributeTable Attributes{ { L"name", &sName } };
        const std::wstring sPattern = L"/installchecker/nt-service-infos/nt-service";
        WalkElements(log, pDocument, sPattern, sPattern, { L"pXmlNodeList", L"pNode" },
                     [&](const CXmlElement& rService) {
                         Attributes.Read(log, rService);
                         m_NtServiceInfos.push_back(sName);
                     });
    });
}

HRESULT CConfigFile::LoadNoRegisteredComObjectInfos(IXMLDOMDocument* pDocument)
{
    CFunctionLog log;
    return log.Run([&] {
        CNoRegisteredComObjectInfo info;
        std::wstring sClsid, sDirectory, sFile;
        const CAttributeTable Attributes{
            { L"name", &info.sName }, { L"clsid", &sClsid }, { L"directory", &sDirectory }, { L"file", &sFile }
        };
        const std::wstring sPattern = L"/installchecker/not-register-com-infos/coclass";
        WalkElements(log, pDocument, sPattern, sPattern, { L"pXmlNodeList", L"pNode" }, [&](const CXmlElement& rClass) {
            Attributes.Read(log, rClass, true);
            info.clsid = ClsidOf(sClsid, info.sName);
            ExpandPathTokens(sDirectory);
            info.sPath = JoinPath(sDirectory, sFile);
            m_NoRegisteredComObjectInfos.push_back(info);
        });
    });
}
