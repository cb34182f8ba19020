// The registry's roots as this process sees them: what a test puts there and nothing else.
#pragma once

#include <deque>
#include <string>
#include <string_view>

#include "support/ScratchKey.h"

class CFakeRoots
{
public:
    // The roots that a document in regedit's form below tests/data names, entered. "$" in it stands for the folder.
    // Data are stored as they stand there, terminated or not.
    explicit CFakeRoots(std::wstring_view sDocument, const std::wstring& sFolder = L"");
    ~CFakeRoots();

private:
    static inline const std::wstring Root = L"kelvarin-tests\\HKEY_";
    CScratchKey m_Parent{ L"kelvarin-tests" }, m_Machine{ Root + L"LOCAL_MACHINE" }, m_User{ Root + L"CURRENT_USER" },
        m_Classes{ Root + L"CLASSES_ROOT" };
    std::deque<CScratchKey> m_Keys;
};
