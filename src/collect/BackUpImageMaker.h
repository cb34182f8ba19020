// Has the product write an image of its data into license.vbk.
#pragma once

#include <string>

#include "platform/Win32.h"

class CBackUpImageMaker
{
public:
    // Makes the folder when it is missing, and refuses an empty one. Needs COM on the calling thread. The result may be
    // the code of an exception that the product threw.
    HRESULT MakeBackUpImage(const std::wstring& sOutDirPath);

private:
    class CCallback;
};
