#include <Cirrus/Version.h>

namespace cirrus {

const double CirrusVersionNumber = CIRRUS_VERSION_NUMBER;
const char* const CirrusVersionString = CIRRUS_VERSION_STRING;

} // namespace cirrus
