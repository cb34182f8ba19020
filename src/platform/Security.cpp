#include "platform/Security.h"

#include <array>

namespace
{

SECURITY_ATTRIBUTES AttributesOf(SECURITY_DESCRIPTOR& rDescriptor, BOOL bInherit)
{
    return { sizeof(SECURITY_ATTRIBUTES), &rDescriptor, bInherit };
}

// One of the well-known identities.
struct CSid
{
    explicit CSid(WELL_KNOWN_SID_TYPE eType)
    {
        DWORD dwSize = sizeof aBytes;
        bValid = ::CreateWellKnownSid(eType, nullptr, aBytes, &dwSize) != FALSE;
    }
    alignas(DWORD) BYTE aBytes[SECURITY_MAX_SID_SIZE];
    bool bValid;
};

constexpr std::array SupportUsers{ WinAuthenticatedUserSid, WinLocalSystemSid, WinBuiltinAdministratorsSid,
                                   WinBuiltinUsersSid };

} // namespace

CEverybodyDescriptor::CEverybodyDescriptor()
{
    ::InitializeSecurityDescriptor(&m_Descriptor, SECURITY_DESCRIPTOR_REVISION);
    ::SetSecurityDescriptorDacl(&m_Descriptor, TRUE, nullptr, FALSE);
}

SECURITY_ATTRIBUTES* CEverybodyDescriptor::Attributes(BOOL bInherit)
{
    m_Attributes = AttributesOf(m_Descriptor, bInherit);
    return &m_Attributes;
}

CSupportUsersDescriptor::CSupportUsersDescriptor()
{
    std::array<CSid, SupportUsers.size()> aSids{ CSid(SupportUsers[0]), CSid(SupportUsers[1]), CSid(SupportUsers[2]),
                                                 CSid(SupportUsers[3]) };
    std::array<EXPLICIT_ACCESSW, SupportUsers.size()> aAccess{};
    for (std::size_t n = 0; n < aSids.size(); ++n)
    {
        if (!aSids[n].bValid)
            return;
        aAccess[n].grfAccessPermissions = GENERIC_ALL;
        aAccess[n].grfAccessMode = SET_ACCESS;
        aAccess[n].grfInheritance = OBJECT_INHERIT_ACE | CONTAINER_INHERIT_ACE;
        aAccess[n].Trustee.TrusteeForm = TRUSTEE_IS_SID;
        aAccess[n].Trustee.ptstrName = reinterpret_cast<LPWSTR>(aSids[n].aBytes);
    }
    PACL pAcl = nullptr;
    if (::SetEntriesInAclW(static_cast<ULONG>(aAccess.size()), aAccess.data(), nullptr, &pAcl) != ERROR_SUCCESS)
        return;
    m_pAcl.Attach(pAcl);
    m_bValid = ::InitializeSecurityDescriptor(&m_Descriptor, SECURITY_DESCRIPTOR_REVISION) != FALSE &&
               ::SetSecurityDescriptorDacl(&m_Descriptor, TRUE, pAcl, FALSE) != FALSE;
}

SECURITY_ATTRIBUTES* CSupportUsersDescriptor::Attributes(BOOL bInherit)
{
    m_Attributes = AttributesOf(m_Descriptor, bInherit);
    return m_bValid ? &m_Attributes : nullptr;
}
