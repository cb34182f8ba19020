// The name that tests of other rooms still use.
#pragma once

#include "support/ReportText.h"
