/* A library that somebody has put beside the program under the name of one of the system's: tells when it is loaded. */
#include <windows.h>

BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, void* reserved)
{
    char path[MAX_PATH + 8];
    (void)reserved;
    if (reason == DLL_PROCESS_ATTACH && GetModuleFileNameA(instance, path, MAX_PATH) != 0)
        CloseHandle(CreateFileA(lstrcatA(path, ".loaded"), GENERIC_WRITE, 0, NULL, CREATE_ALWAYS, 0, NULL));
    return TRUE;
}
