// Numbers of the resources; read by the resource compiler too.
#pragma once

#define IDD_PROGRESS 102
#define IDC_PROGRESS_BAR 1001
#define IDC_STATUS_TEXT 1002
