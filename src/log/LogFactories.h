// The factories that Kelvarin.log.xml can name. They differ only in the output that they make.
#pragma once

#include <string>

#include "log/LogInterfaces.h"

namespace opLogSys
{

// What all factories have in common: the two writers.
class CFactoryBase : public Common::CReferenceCounted<IOutputLogSystemFactory>
{
public:
    ILog* CreateLog(DWORD dwThreadId, ILogIO* pOutput) override;
    ILog* CreateErrorLog(ILogIO* pOutput) override;
};

namespace Null
{
class COutputLogSystemFactory final : public CFactoryBase
{
public:
    class CNullIO;
    ILogIO* CreateOutput(const std::wstring& sSubject, Encoding eEncoding) override;
};
} // namespace Null

namespace Ods
{
class COutputLogSystemFactory final : public CFactoryBase
{
public:
    class COutputDebugStringIO;
    ILogIO* CreateOutput(const std::wstring& sSubject, Encoding eEncoding) override;
};
} // namespace Ods

namespace File
{
class COutputLogSystemFactory final : public CFactoryBase
{
public:
    COutputLogSystemFactory(bool bAutoFlush, const std::wstring& sLocation)
        : m_bAutoFlush(bAutoFlush),
          m_sLocation(sLocation)
    {
    }
    ILogIO* CreateOutput(const std::wstring& sSubject, Encoding eEncoding) override;

private:
    bool m_bAutoFlush;
    std::wstring m_sLocation;
};
} // namespace File

} // namespace opLogSys
