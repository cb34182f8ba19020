// A small PC with one of every oddity that a dump can meet. The golden files in tests/data/hardware show it.
#pragma once

#include <filesystem>
#include <fstream>
#include <sstream>

#include "platform/WideText.h"
#include "support/FakePcDevices.h"
#include "support/TestFolder.h"

// The data of a property as the description has it.
inline std::string DescribedBytes(std::istream& rWords)
{
    std::string sBytes, sWord;
    if ((rWords >> std::ws).peek() == '"' && std::getline(rWords.ignore(), sWord))
    {
        for (const char c : sWord)
            sBytes += { c == '|' ? '\0' : c, '\0' };
    }
    while (rWords >> sWord)
        sBytes += static_cast<char>(std::stoul(sWord, nullptr, 16));
    return sBytes;
}

// Adds the nodes of tests/data/hardware/SamplePc.txt, which tells its form, as a tree of their own or below a node.
inline void AddSamplePc(CFakePcDevices& rPc, DEVINST hParent = 0)
{
    std::ifstream File(std::filesystem::path{ TEST_DATA L"\\hardware\\SamplePc.txt" });
    std::vector<DEVINST> Branch; // from the root to the last node
    CFakeProperty* pProperty = nullptr;
    for (std::string sLine; std::getline(File, sLine);)
    {
        std::istringstream Words(sLine);
        std::string sKey, sText;
        std::size_t nNumber = 0;
        Words >> sKey;
        if (sKey == "node" && Words >> nNumber >> sText)
        {
            Branch.resize(nNumber);
            Branch.push_back(rPc.Add(Branch.empty() ? hParent : Branch.back(), { .sId = ToWide(sText) }));
            rPc.Find(Branch.back())->bPresent = Words.eof();
        }
        else if (sKey == "interface" && Words >> sKey >> sText)
        {
            CFakeInterface& rInterface = rPc.Find(Branch.back())->Interfaces.emplace_back(GUID{}, ToWide(sText));
            ::IIDFromString(ToWide(sKey).c_str(), &rInterface.Guid);
        }
        else if (sKey == "property" && Words >> nNumber)
        {
            pProperty = &rPc.Find(Branch.back())->Properties[nNumber];
            Words >> pProperty->ulType;
            pProperty->sBytes = DescribedBytes(Words);
        }
        else if (sKey == "later")
            pProperty->Later = DescribedBytes(Words);
        else if (sKey == "told")
            Words >> pProperty->dwTold;
        else if (sKey == "fails")
            Words >> pProperty->crLater;
    }
}

// The golden file with the line ends of a dump.
inline std::string GoldenDump(const std::wstring& sName)
{
    std::string sText = ReadBytes(TEST_DATA L"\\hardware\\" + sName);
    for (std::size_t n = 0; (n = sText.find('\n', n)) != sText.npos; n += 2)
        sText.insert(n, 1, '\r');
    return sText;
}
