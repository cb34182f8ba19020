// A sample library that cannot be loaded without another one.

extern "C" __declspec(dllimport) const wchar_t* VlmModuleName();

extern "C" __declspec(dllexport) const wchar_t* VlmBridgeText()
{
    return VlmModuleName();
}
