#include "opdutility/OpdLogFile.h"

namespace
{

constexpr CLineWriterNames Names{ "COpdLogFile::Write", "COpdLogFile::WriteLine", L"m_cFile" };

} // namespace

COpdLogFile::COpdLogFile() : CLineWriter(Names) {}

HRESULT COpdLogFile::Open(const std::wstring& sPath)
{
    CFunctionLog log;
    return log.Run([&] { OpenFile(log, sPath); });
}

void COpdLogFile::OpenOrThrow(const CFunctionLog& log, const std::wstring& sPath)
{
    log.Check(Open(sPath), L"COpdLogFile::Open( \"%s\" ) failed. [0x%08X]", sPath);
}
