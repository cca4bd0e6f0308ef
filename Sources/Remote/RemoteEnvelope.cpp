#include "Remote/RemoteEnvelope.h"

#include <utility>

namespace tessarin
{

RemoteEnvelope RemoteEnvelope::makeSnapshot(RemoteSnapshot snapshot)
{
    RemoteEnvelope envelope;
    envelope.type = RemoteMessageType::snapshot;
    envelope.snapshot.emplace(std::move(snapshot));
    return envelope;
}

RemoteEnvelope RemoteEnvelope::makeError(std::string text)
{
    RemoteEnvelope envelope;
    envelope.type = RemoteMessageType::error;
    envelope.text = std::move(text);
    return envelope;
}

} // namespace tessarin
