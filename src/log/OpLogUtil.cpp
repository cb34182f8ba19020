#include "log/OpLogUtil.h"

#include "log/FunctionLog.h"
#include "log/LogSysInfo.h"
#include "log/LogSystem.h"
#include "log/OpLogUtilConfig.h"
#include "platform/RegKey.h"

using namespace opLogSys;

namespace
{

// Constructed before wWinMain, whoever asks first.
[[maybe_unused]] COpLogUtil& s_rFacade = COpLogUtil::GetInstance();

// Asked before anything of the facade is touched: a thread may outlive it.
constinit std::atomic<bool> s_bGone{ false };

} // namespace

COpLogUtil::COpLogUtil(IConfig& rConfig) : m_rConfig(rConfig), m_Imp(this) {}

COpLogUtil::~COpLogUtil()
{
    s_bGone = true;
    delete m_pLogSystem.exchange(nullptr);
}

COpLogUtil& COpLogUtil::GetInstance()
{
    static COpLogUtilConfigImp s_Config;
    static COpLogUtil s_Facade(s_Config);
    return s_Facade;
}

CLogSystem* COpLogUtil::GetLogSystem()
{
    return s_bGone ? nullptr : GetInstance().Imp().GetLogSystem();
}

CLogSystem* COpLogUtil::MakeLogSystem()
{
    if (CLogSystem* const pMade = m_pLogSystem.load(std::memory_order_acquire))
        return pMade;
    const CLockScope lock(m_Lock);
    if (CLogSystem* const pMade = m_pLogSystem.load(std::memory_order_relaxed))
        return pMade;

    CLogSystemSettings settings;
    settings.sTitle = m_rConfig.GetTitle();
    const HRESULT hrPath = CFunctionLog::Try([&] { settings.sErrorLogPath = m_rConfig.GetErrorLogPath(); });
    const auto pInfo = Common::CReference<CLogSysInfoFromXML>::Own(new CLogSysInfoFromXML(m_rConfig.GetXmlPath()));
    settings.sName = m_rConfig.GetName();
    settings.eEncoding = m_rConfig.GetEncoding();
    settings.dwErrorLogLimit = m_rConfig.GetErrorLogLimit();
    settings.bTrim = false;
    auto* const pLogSystem = new CLogSystem(std::move(settings), *pInfo.Get());
    m_pLogSystem.store(pLogSystem, std::memory_order_release);
    if (FAILED(hrPath))
        throw HRESULT{ hrPath };
    return pLogSystem;
}

CLogSystem* COpLogUtil::COpLogImp::GetLogSystem()
{
    return m_pFacade->MakeLogSystem();
}

bool COpLogUtil::COpLogImp::IsLogOn()
{
    CLogSystem* const pLogSystem = GetLogSystem();
    return pLogSystem != nullptr && pLogSystem->GetFilter().HasEntries() == S_OK;
}

bool COpLogUtil::COpLogImp::EnableBreak(const wchar_t* pValueName)
{
    CRegKey reg;
    DWORD dwValue = 1;
    const bool bRead = OpenMachineKey(m_pFacade->m_rConfig.GetRegistryPath(), reg) == ERROR_SUCCESS &&
                       reg.QueryDwordValue(pValueName, dwValue) == ERROR_SUCCESS;
    return !bRead || dwValue != 0;
}

bool COpLogUtil::COpLogImp::EnableBreakForAssert()
{
    return EnableBreak(L"EnableBreakForAssert");
}
bool COpLogUtil::COpLogImp::EnableBreakForWarning()
{
    return EnableBreak(L"EnableBreakForWarning");
}
bool COpLogUtil::COpLogImp::EnableBreakForThrow()
{
    return EnableBreak(L"EnableBreakForThrow");
}
bool COpLogUtil::COpLogImp::EnableBreakForError()
{
    return EnableBreak(L"EnableBreakForError");
}
bool COpLogUtil::COpLogImp::EnableBreakForJudge()
{
    return EnableBreak(L"EnableBreakForJudge");
}
