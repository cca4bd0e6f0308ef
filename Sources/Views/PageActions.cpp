#include "Views/PageActions.h"

#include "Views/LinkRules.h"

#include <QClipboard>
#include <QDesktopServices>
#include <QGuiApplication>

namespace tessarin
{

void PageActions::copy(const QString& text) const
{
    QGuiApplication::clipboard()->setText(text);
}

void PageActions::openLink(const QString& link) const
{
    if (const auto address = LinkRules::address(link)) {
        QDesktopServices::openUrl(*address);
    }
}

} // namespace tessarin
