// Walking a tree of folders for a listing: each folder's files, then its subfolders.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/FileIdentity.h"

struct CFileEntry
{
    std::wstring sName;
    std::wstring sPath;
    // Asked once, with those of the whole folder; INVALID_FILE_ATTRIBUTES when the file has vanished by then.
    DWORD dwAttributes;
};

// The folders that are open above the present one, by file identity: a junction that points upwards is not entered.
class CFolderTrail
{
public:
    // A folder on the trail, as a scope.
    class CVisit
    {
    public:
        CVisit(CFolderTrail& rTrail, const std::wstring& sDirPath)
            : m_rTrail(rTrail),
              m_bEntered(rTrail.Enter(sDirPath))
        {
        }
        ~CVisit()
        {
            if (m_bEntered)
                m_rTrail.m_Trail.pop_back();
        }
        CVisit(const CVisit&) = delete;
        CVisit& operator=(const CVisit&) = delete;

        // False when the folder is open above already, or too deep to be listed.
        bool Entered() const { return m_bEntered; }

    private:
        CFolderTrail& m_rTrail;
        bool m_bEntered;
    };

private:
    static constexpr std::size_t MaxDepth = 1024;

    bool Enter(const std::wstring& sDirPath);

    std::vector<std::optional<CFileIdentity>> m_Trail;
};

// The entries of one folder in the order of the platform, without "." and "..". A folder that is missing is empty; the
// result is COpdFileHelper::EnumFiles's.
struct CFolderContents
{
    std::vector<CFileEntry> Files;
    std::vector<CFileEntry> Folders;
};
HRESULT ReadFolder(const std::wstring& sDirPath, CFolderContents& rContents);
