#include "loader/LoaderEntry.h"

#include "loader/ExtensionManagerImpl.h"

extern "C" kovx::ExtensionManager* init(void* /*core*/) {
    return new loader::ExtensionManagerImpl();
}
