#include "check/FileCertificate.h"

#include <wincrypt.h>

#include <vector>

#include "log/FunctionLog.h"
#include "platform/Allocation.h"
#include "platform/HResult.h"
#include "platform/Handle.h"

namespace
{

struct StoreTraits
{
    using Type = HCERTSTORE;
    static Type Invalid() { return nullptr; }
    static void Close(Type h) { ::CertCloseStore(h, 0); }
};
struct MessageTraits
{
    using Type = HCRYPTMSG;
    static Type Invalid() { return nullptr; }
    static void Close(Type h) { ::CryptMsgClose(h); }
};
struct CertificateTraits
{
    using Type = PCCERT_CONTEXT;
    static Type Invalid() { return nullptr; }
    static void Close(Type p) { ::CertFreeCertificateContext(p); }
};

constexpr DWORD Encodings = X509_ASN_ENCODING | PKCS_7_ASN_ENCODING;

// A buffer of nCount items; lack of memory is recorded under the buffer's name.
template <typename T>
std::vector<T> Allocate(const CFunctionLog& log, DWORD nCount, const wchar_t* pName)
{
    std::vector<T> Data;
    if (!TryResize(Data, nCount))
        log.Throw(E_OUTOFMEMORY, L"%s.AllocateBytes( %u ) failed.", pName, nCount * sizeof(T));
    return Data;
}

// The first signer: a CMSG_SIGNER_INFO with what it points to behind it.
std::vector<BYTE> ReadSignerInfo(const CFunctionLog& log, HCRYPTMSG hMessage)
{
    constexpr CFormat<HRESULT> Failed(L"CryptMsgGetParam( CMSG_SIGNER_INFO_PARAM ) failed.[0x%08X]");
    DWORD dwSize = 0;
    if (!::CryptMsgGetParam(hMessage, CMSG_SIGNER_INFO_PARAM, 0, nullptr, &dwSize))
        log.ThrowCode(LastErrorResult(), Failed);
    auto Data = Allocate<BYTE>(log, dwSize, L"pMsgSignerInfo");
    if (!::CryptMsgGetParam(hMessage, CMSG_SIGNER_INFO_PARAM, 0, Data.data(), &dwSize) ||
        dwSize < sizeof(CMSG_SIGNER_INFO))
        log.ThrowCode(LastErrorResult(), Failed);
    return Data;
}

CHandleT<CertificateTraits> FindCertificate(const CFunctionLog& log, HCERTSTORE hStore,
                                            const std::vector<BYTE>& rSignerInfo)
{
    const auto* const pSigner = reinterpret_cast<const CMSG_SIGNER_INFO*>(rSignerInfo.data());
    CERT_INFO Info{};
    Info.Issuer = pSigner->Issuer;
    Info.SerialNumber = pSigner->SerialNumber;
    CHandleT<CertificateTraits> pCertificate(
        ::CertFindCertificateInStore(hStore, Encodings, 0, CERT_FIND_SUBJECT_CERT, &Info, nullptr));
    if (!pCertificate)
        log.ThrowCode(LastErrorResult(), L"CertFindCertificateInStore( CERT_FIND_SUBJECT_CERT ) failed.[0x%08X]");
    return pCertificate;
}

std::wstring DisplayName(const CFunctionLog& log, PCCERT_CONTEXT pCertificate)
{
    constexpr CFormat<> Failed(L"CertGetNameString( CERT_NAME_SIMPLE_DISPLAY_TYPE ) failed.");
    // Both lengths count the terminator.
    const DWORD nLength = ::CertGetNameStringW(pCertificate, CERT_NAME_SIMPLE_DISPLAY_TYPE, 0, nullptr, nullptr, 0);
    if (nLength == 0)
        log.Throw(E_FAIL, Failed);
    auto Name = Allocate<wchar_t>(log, nLength, L"pSimpleDispalyName");
    const DWORD nCopied = ::CertGetNameStringW(pCertificate, CERT_NAME_SIMPLE_DISPLAY_TYPE, 0, nullptr, Name.data(),
                                               nLength);
    if (nCopied == 0 || nCopied > nLength)
        log.Throw(E_FAIL, Failed);
    return { Name.data(), nCopied - 1 };
}

} // namespace

HRESULT CFileCertificate::GetCertificateSubjectName(const std::wstring& sPath, std::wstring& rsName)
{
    CFunctionLog log("CFileInfoChecker::GetCertificateSubjectName");
    return log.Run([&] {
        CHandleT<MessageTraits> hMessage; // closed after the store
        CHandleT<StoreTraits> hStore;
        if (!::CryptQueryObject(CERT_QUERY_OBJECT_FILE, sPath.c_str(), CERT_QUERY_CONTENT_FLAG_PKCS7_SIGNED_EMBED,
                                CERT_QUERY_FORMAT_FLAG_BINARY, 0, nullptr, nullptr, nullptr, hStore.Put(),
                                hMessage.Put(), nullptr))
            log.ThrowCode(LastErrorResult(), L"CryptQueryObject( %s ) failed.[0x%08X]", sPath);
        const std::vector<BYTE> SignerInfo = ReadSignerInfo(log, hMessage.Get());
        const auto pCertificate = FindCertificate(log, hStore.Get(), SignerInfo);
        rsName = DisplayName(log, pCertificate.Get());
    });
}
