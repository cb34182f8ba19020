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
