// Prints the reference page of all settings: `vorta_settings_reference > docs/settings.md`.

#include "settingspage.h"

#include <iostream>

int main() {
    Vorta::writeSettingsPage(std::cout);
    std::cout.flush();
    return std::cout ? 0 : 1;
}
