#pragma once

// What the extension manager and its probe helper (kov-plugin-probe) agree on.

namespace loader {
namespace probe {

/// "1" switches probing on; the helper clears it, so that it does not probe in turn.
constexpr const char* ENABLE_VARIABLE = "KOV_PROBE_PLUGINS";
/// Names a helper program other than the installed one.
constexpr const char* HELPER_VARIABLE = "KOV_PROBE_HELPER";
/// The helper's whole standard output once the library is unloaded again. A plug-in that calls
/// exit(0) ends the helper with status 0 too, but without this.
constexpr const char SURVIVED_REPLY[] = "ok\n";

} // namespace probe
} // namespace loader
