// A sample library: all of them are this one, under different names.

extern "C" __declspec(dllexport) const wchar_t* VlmModuleName()
{
    return SAMPLE_NAME;
}
