// Security descriptors for what several accounts of one PC share.
#pragma once

#include <aclapi.h>

#include "platform/Handle.h"

// A null DACL: anybody may use the object.
class CEverybodyDescriptor
{
public:
    CEverybodyDescriptor();
    SECURITY_ATTRIBUTES* Attributes(BOOL bInherit);

private:
    SECURITY_DESCRIPTOR m_Descriptor{};
    SECURITY_ATTRIBUTES m_Attributes{};
};

// Full access for Authenticated Users, Local System, Administrators and Users, handed down to what lies below. Where
// it cannot be built, Attributes gives null and the platform's default counts.
class CSupportUsersDescriptor
{
public:
    CSupportUsersDescriptor();
    SECURITY_ATTRIBUTES* Attributes(BOOL bInherit);

private:
    CLocalBlock m_pAcl;
    SECURITY_DESCRIPTOR m_Descriptor{};
    SECURITY_ATTRIBUTES m_Attributes{};
    bool m_bValid = false;
};
