// The version in the binary header of the product's own module files.
#pragma once

#include <optional>
#include <span>
#include <string>

#include "platform/Win32.h"

class CModuleVersion
{
public:
    enum class Kind
    {
        None,
        Init,
        Module,
        Device
    };

    // By the path as it stands: the two whole names match a bare name only, so a full path that ends in "INIT.TVM" is
    // an ordinary module, and one that ends in "DEVICE.TVL" is none at all.
    static Kind KindOf(const std::wstring& sPath);

    // The version text; without a value when the file is too short for its words. The words are signed: a version part
    // above 32,767 shows as a negative number.
    static std::optional<std::wstring> Parse(Kind eKind, std::span<const BYTE> Data);
};
