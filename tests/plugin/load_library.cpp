// Page-level tests load the library that ships.

#include "plugin_test.h"

bool lumivex::test::LoadPlugin(Browser* browser, std::string* error) {
  return browser->Load(LUMIVEX_TEST_PLUGIN, error);
}
