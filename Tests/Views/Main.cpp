#include <QGuiApplication>
#include <gtest/gtest.h>

#if defined(TESSARIN_QML_TEST)
#include <QtQml/qqmlextensionplugin.h>
Q_IMPORT_QML_PLUGIN(TessarinPlugin)
#endif

#if defined(__SANITIZE_ADDRESS__)
// Qt keeps pictures for a while after their last use in a place that it forgets at the end. What we allocate is still looked for.
extern "C" const char* __lsan_default_suppressions() // NOLINT(bugprone-reserved-identifier)
{
    return "leak:libQt6Core\nleak:libQt6Gui\nleak:libQt6Quick\n";
}
#endif

// Models with timers, text documents and QML need an application object; its window system is the offscreen one.
int main(int argc, char** argv)
{
    QGuiApplication application(argc, argv);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
