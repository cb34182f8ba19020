#include "app/ProgressClient.h"

#include "app/KelvarinApp.h"

CProgressClient::CProgressClient(const std::wstring& sName, UINT32 nRange, const std::wstring& sText) : m_sName(sName)
{
    CKelvarinApp::GetApp().m_ProgressDlg.AddClient(m_sName, nRange, sText);
}

void CProgressClient::Update(UINT32 nPosition, const std::wstring& sText) const
{
    CKelvarinApp::GetApp().m_ProgressDlg.UpdateProgress(m_sName, nPosition, sText);
}
