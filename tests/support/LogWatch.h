// What this process has written to the error log since the watch was made.
#pragma once

#include <string>
#include <vector>

class CLogWatch
{
public:
    CLogWatch();

    // The records as "[CThing::Read] message", without time, process and source line, in UTF-8.
    std::vector<std::string> Records() const;

private:
    std::size_t m_nStart;
};
