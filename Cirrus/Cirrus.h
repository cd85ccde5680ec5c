#pragma once

/// All that a host needs.

#include "Cirrus/Configuration.h"
#include "Cirrus/ShareController.h"
#include "Cirrus/Version.h"
#include "Cirrus/platform/Error.h"
#include "Cirrus/platform/MainQueue.h"
#include "Cirrus/platform/Progress.h"
#include "Cirrus/platform/Url.h"
