#include "collect/FolderWalk.h"

#include <algorithm>

#include "opdutility/OpdFileHelper.h"
#include "platform/Path.h"

bool CFolderTrail::Enter(const std::wstring& sDirPath)
{
    // No line of a listing could hold a path below that many folders.
    if (m_Trail.size() == MaxDepth)
        return false;
    // A folder that cannot be identified is entered without a guard against loops; the listing says what is wrong.
    const std::optional<CFileIdentity> identity = IdentityOf(sDirPath);
    if (identity && std::ranges::find(m_Trail, identity) != m_Trail.end())
        return false;
    m_Trail.push_back(identity);
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
        (IsFolder(entry.dwAttributes) ? rContents.Folders : rContents.Files).push_back(std::move(entry));
    }
    return hr;
}
