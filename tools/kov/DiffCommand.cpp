#include "Commands.h"
namespace kovhost {
int diffRuleFiles(Host&, const Invocation&, std::ostream&) { return 2; }
}
