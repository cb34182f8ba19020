// Entry point of the test executables. The command line also holds the program's own switches for the log's folder.
#include <gmock/gmock.h>

#include "app/KelvarinApp.h"
#include "platform/ComInit.h"

int wmain(int argc, wchar_t** argv)
{
    ::testing::InitGoogleMock(&argc, argv);
    ::SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
    // The golden files are of code page 1252.
    ::SetThreadLocale(MAKELCID(MAKELANGID(LANG_ENGLISH, SUBLANG_ENGLISH_US), SORT_DEFAULT));
    const COpdComInit com;
    CKelvarinApp::GetApp().Init();
    return RUN_ALL_TESTS();
}
