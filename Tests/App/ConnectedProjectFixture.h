#pragma once

#include "AppModelFixture.h"

namespace tessarin::testing
{

// For what keeps or drops the connection.
class ConnectedProjectTest : public AppModelTest
{
protected:
    // A project whose client is ready after one turn.
    void openConnectedProject()
    {
        runtime.script("grok", oneTurn("Hello"));
        openProject();
        runTurn("Hi");
        project = *model->selectedWorkspaceID();
        thread = *model->selectedThreadID();
    }

    [[nodiscard]] bool isConnected() const { return model->activeProvider().has_value(); }

    void expectDropped()
    {
        EXPECT_EQ(model->activeProvider(), std::nullopt);
        EXPECT_EQ(model->connectionState().kind(), ConnectionState::Kind::idle);
        waitForStop("grok");
    }

    Uuid project;
    Uuid thread;
};

} // namespace tessarin::testing
