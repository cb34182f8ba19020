#include "check/SignedFile.h"

#include <stdexcept>
#include <vector>

#include "platform/Win32.h"

#include <wincrypt.h>

namespace
{

void Require(bool bDone)
{
    if (!bDone)
        throw std::runtime_error("cannot sign: " + std::to_string(::GetLastError()));
}

// A PKCS #7 message, signed with a key that is removed again.
std::string Sign(const std::wstring& sSigner)
{
    CRYPT_KEY_PROV_INFO Key{};
    Key.pwszContainerName = const_cast<wchar_t*>(L"kelvarin-tests");
    Key.pwszProvName = const_cast<wchar_t*>(MS_ENHANCED_PROV_W);
    Key.dwProvType = PROV_RSA_FULL;
    Key.dwKeySpec = AT_SIGNATURE;
    const auto Acquire = [&](DWORD dwFlags) {
        HCRYPTPROV hProvider = 0;
        const BOOL bDone = ::CryptAcquireContextW(&hProvider, Key.pwszContainerName, Key.pwszProvName, Key.dwProvType, dwFlags);
        Require(bDone || (dwFlags & CRYPT_DELETEKEYSET) != 0);
        return hProvider;
    };
    Acquire(CRYPT_DELETEKEYSET);
    HCRYPTPROV hProvider = Acquire(CRYPT_NEWKEYSET);
    HCRYPTKEY hKey = 0;
    Require(::CryptGenKey(hProvider, AT_SIGNATURE, 1024 << 16, &hKey));
    ::CryptDestroyKey(hKey);
    ::CryptReleaseContext(hProvider, 0); // the key may be stored only now
    hProvider = Acquire(0);

    BYTE aName[512];
    CERT_NAME_BLOB Subject{ sizeof aName, aName };
    Require(::CertStrToNameW(X509_ASN_ENCODING, (L"CN=" + sSigner).c_str(), CERT_X500_NAME_STR, nullptr, aName, &Subject.cbData, nullptr));
    PCCERT_CONTEXT pCertificate = ::CertCreateSelfSignCertificate(hProvider, &Subject, 0, &Key, nullptr, nullptr, nullptr, nullptr);
    Require(pCertificate != nullptr);
    CRYPT_SIGN_MESSAGE_PARA Parameters{};
    Parameters.cbSize = sizeof Parameters;
    Parameters.dwMsgEncodingType = X509_ASN_ENCODING | PKCS_7_ASN_ENCODING;
    Parameters.pSigningCert = pCertificate;
    Parameters.HashAlgorithm.pszObjId = const_cast<char*>(szOID_OIWSEC_sha1);
    Parameters.cMsgCert = 1;
    Parameters.rgpMsgCert = &pCertificate;
    const BYTE aContent[] = { 0x30, 0 };
    const BYTE* pContent = aContent;
    DWORD dwContent = sizeof aContent;
    std::string sMessage(8192, '\0');
    auto dwSize = static_cast<DWORD>(sMessage.size());
    Require(::CryptSignMessage(&Parameters, FALSE, 1, &pContent, &dwContent, reinterpret_cast<BYTE*>(sMessage.data()), &dwSize));
    ::CertFreeCertificateContext(pCertificate);
    ::CryptReleaseContext(hProvider, 0);
    Acquire(CRYPT_DELETEKEYSET);
    return sMessage.substr(0, dwSize);
}

} // namespace

std::string MakeSignedFile(const std::wstring& sSigner)
{
    struct
    {
        IMAGE_DOS_HEADER Dos{};
        IMAGE_NT_HEADERS32 Nt{};
        DWORD dwLength = 0; // from here the entry of the certificate table
        WORD wRevision = 0x0200, wType = 2;
    } Headers;
    std::string sMessage = Sign(sSigner);
    sMessage.resize((sMessage.size() + 7) & ~std::size_t{ 7 });
    Headers.dwLength = static_cast<DWORD>(8 + sMessage.size());
    Headers.Dos.e_magic = IMAGE_DOS_SIGNATURE;
    Headers.Dos.e_lfanew = sizeof Headers.Dos;
    Headers.Nt.Signature = IMAGE_NT_SIGNATURE;
    Headers.Nt.FileHeader.SizeOfOptionalHeader = sizeof Headers.Nt.OptionalHeader;
    Headers.Nt.OptionalHeader.Magic = IMAGE_NT_OPTIONAL_HDR32_MAGIC;
    Headers.Nt.OptionalHeader.NumberOfRvaAndSizes = IMAGE_NUMBEROF_DIRECTORY_ENTRIES;
    Headers.Nt.OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_SECURITY] = { sizeof Headers - 8, Headers.dwLength };
    return std::string(reinterpret_cast<const char*>(&Headers), sizeof Headers) + sMessage;
}
