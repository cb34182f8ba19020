// Has the product write an image of its data into license.vbk.
#pragma once

#include <string>

#include "platform/Win32.h"

class CBackUpImageMaker
{
public:
    // Needs COM on the calling thread.
    HRESULT MakeBackUpImage(const std::wstring& sOutDirPath);

private:
    class CCallback;
};
