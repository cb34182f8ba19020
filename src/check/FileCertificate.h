// Who signed a file.
#pragma once

#include <string>

#include "platform/Win32.h"

class CFileCertificate
{
public:
    // The simple display name of the first signer of an embedded signature. Neither the signature nor the chain is
    // verified.
    static HRESULT GetCertificateSubjectName(const std::wstring& sPath, std::wstring& rsName);
};
