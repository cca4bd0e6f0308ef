#include <QGuiApplication>
#include <gtest/gtest.h>

#if defined(TESSARIN_QML_TEST)
#include <QtQml/qqmlextensionplugin.h>
Q_IMPORT_QML_PLUGIN(TessarinPlugin)
#endif

// Models with timers, text documents and QML need an application object; its window system is the offscreen one.
int main(int argc, char** argv)
{
    QGuiApplication application(argc, argv);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
