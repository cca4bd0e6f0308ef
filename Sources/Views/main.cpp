#include "Views/TessarinApp.h"

#include <QtQml/qqmlextensionplugin.h>

Q_IMPORT_QML_PLUGIN(TessarinPlugin)

int main(int argc, char** argv)
{
    return tessarin::TessarinApp::run(argc, argv);
}
