#include "platform/StandardFolders.h"
#include "support/UserDefaults.h"

namespace quillet {

UserDefaults& UserDefaults::standard() {
    static FileUserDefaults defaults(QString::fromStdString(standardSettingsFile().string()));
    return defaults;
}

} // namespace quillet
