#pragma once

// All that a host needs.

#include <Cirrus/Configuration.h>
#include <Cirrus/Error.h>
#include <Cirrus/Failure.h>
#include <Cirrus/MainQueue.h>
#include <Cirrus/Progress.h>
#include <Cirrus/ScopedShareController.h>
#include <Cirrus/ShareController.h>
#include <Cirrus/Url.h>
#include <Cirrus/Version.h>
