#include "collect/FolderWalk.h"

#include <algorithm>

#include "opdutility/OpdFileHelper.h"
#include "platform/Handle.h"
#include "platform/Path.h"

bool CFolderTrail::Enter(const std::wstring& sDirPath)
{
    // A folder that cannot be opened has no identity: it goes on the trail as nothing, and the listing says what is
    // wrong.
    CIdentity Identity{};
    const CFileHandle hDir(::CreateFileW(sDirPath.c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                         nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    BY_HANDLE_FILE_INFORMATION Info;
    if (hDir && ::GetFileInformationByHandle(hDir.Get(), &Info))
    {
        Identity = { Info.dwVolumeSerialNumber, Info.nFileIndexHigh, Info.nFileIndexLow };
        // Some file systems give every folder the number 0.
        if ((Identity.dwIndexHigh != 0 || Identity.dwIndexLow != 0) &&
            std::ranges::find(m_Trail, Identity) != m_Trail.end())
            return false;
    }
    m_Trail.push_back(Identity);
    return true;
}

HRESULT ReadFolder(const std::wstring& sDirPath, CFolderContents& rContents)
{
    std::vector<std::wstring> Names;
    const HRESULT hr = COpdFileHelper::EnumFiles(JoinPath(sDirPath, L"*"), Names);
    for (const std::wstring& sName : Names)
    {
        if (sName == L"." || sName == L"..")
            continue;
        CFileEntry entry{ sName, EntryPath(sDirPath, sName), 0 };
        entry.dwAttributes = ::GetFileAttributesW(entry.sPath.c_str());
        const bool bFolder = entry.dwAttributes != INVALID_FILE_ATTRIBUTES &&
                             (entry.dwAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
        (bFolder ? rContents.Folders : rContents.Files).push_back(std::move(entry));
    }
    return hr;
}
