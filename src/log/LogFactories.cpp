#include "log/LogFactories.h"

#include "log/FileIO.h"
#include "log/Log.h"

namespace opLogSys
{

ILog* CFactoryBase::CreateLog(DWORD dwThreadId, ILogIO* pOutput)
{
    return new CLog(dwThreadId, pOutput);
}

ILog* CFactoryBase::CreateErrorLog(ILogIO* pOutput)
{
    return new CErrorLog(pOutput);
}

class Null::COutputLogSystemFactory::CNullIO final : public Common::CReferenceCounted<ILogIO>
{
public:
    LONG Open() override { return 0; }
    LONG Close() override { return 0; }
    void WriteLine(const wchar_t*) override {}
    void WriteText(const wchar_t*) override {}
    void Flush() override {}
};

ILogIO* Null::COutputLogSystemFactory::CreateOutput(const std::wstring&, Encoding)
{
    return new CNullIO;
}

class Ods::COutputLogSystemFactory::COutputDebugStringIO final : public Common::CReferenceCounted<ILogIO>
{
public:
    LONG Open() override { return 0; }
    LONG Close() override { return 0; }
    void WriteLine(const wchar_t* pText) override
    {
        ::OutputDebugStringW(pText);
        ::OutputDebugStringW(L"\n");
    }
    void WriteText(const wchar_t* pText) override { ::OutputDebugStringW(pText); }
    void Flush() override {}
};

ILogIO* Ods::COutputLogSystemFactory::CreateOutput(const std::wstring&, Encoding)
{
    return new COutputDebugStringIO;
}

ILogIO* File::COutputLogSystemFactory::CreateOutput(const std::wstring& sSubject, Encoding eEncoding)
{
    return new CFileIO(sSubject, m_bAutoFlush, m_sLocation, eEncoding);
}

} // namespace opLogSys
