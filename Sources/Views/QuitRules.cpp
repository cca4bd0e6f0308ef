#include "Views/QuitRules.h"

#include "Views/ConversationRules.h"

namespace tessarin::QuitRules
{

QString question(const UnfinishedWork& work)
{
    const QString generating = ConversationRules::speaker(AgentProvider::grok) + QStringLiteral(" is still generating in Imagine");
    if (!work.taskTitle) {
        return work.isGenerating ? generating + QStringLiteral(". Quitting stops it; what is in the library stays.") : QString();
    }
    const QString working
        = QStringLiteral("%1 is still working in “%2”").arg(ConversationRules::speaker(work.provider), work.taskTitle->simplified());
    return work.isGenerating
        ? working + QStringLiteral(", and ") + generating + QStringLiteral(". Quitting stops both; what they have made stays.")
        : working + QStringLiteral(". Quitting stops it; what it has written stays.");
}

} // namespace tessarin::QuitRules
