#pragma once

#include "Services/RuntimeContext.h"

// Where each vendor's program is, the environment in which it uses the person's subscription and not a key, its version, its sign-in.
// The locators are alike in shape and differ on purpose. Nothing is cached: every call looks again. Any thread, but for the probes,
// which start on the main thread, run without blocking it and complete there.

namespace tessarin
{

class MainThread;

using VersionCompletion = std::function<void(std::optional<std::string> version)>;
using InspectCompletion = std::function<void(std::optional<std::string> version, std::optional<bool> signedIn)>;

namespace GrokLocator
{
inline constexpr const char* customPathKey = "grokExecutablePath";
[[nodiscard]] std::optional<std::string> findExecutable(const RuntimeContext& context);
// Grok's environment, and that of every ACP terminal; no key is removed.
[[nodiscard]] Environment augmentedEnvironment(const RuntimeContext& context);
void version(const std::string& executable, const RuntimeContext& context, MainThread& mainThread, VersionCompletion completion);
} // namespace GrokLocator

namespace CodexLocator
{
inline constexpr const char* customPathKey = "codexExecutablePath";
[[nodiscard]] std::optional<std::string> findExecutable(const RuntimeContext& context);
[[nodiscard]] Environment subscriptionEnvironment(const RuntimeContext& context);
void inspect(const std::string& executable, const RuntimeContext& context, MainThread& mainThread, InspectCompletion completion);
} // namespace CodexLocator

namespace KimiLocator
{
inline constexpr const char* customPathKey = "kimiExecutablePath";
[[nodiscard]] std::optional<std::string> findExecutable(const RuntimeContext& context);
[[nodiscard]] Environment subscriptionEnvironment(const RuntimeContext& context);
void version(const std::string& executable, const RuntimeContext& context, MainThread& mainThread, VersionCompletion completion);
} // namespace KimiLocator

namespace OpenCodeLocator
{
inline constexpr const char* customPathKey = "openCodeExecutablePath";
inline constexpr const char* modelKey = "openCodeGLMModel";
inline constexpr const char* defaultModel = "zai-coding-plan/glm-4.7";
[[nodiscard]] std::optional<std::string> findExecutable(const RuntimeContext& context);
[[nodiscard]] Environment subscriptionEnvironment(const RuntimeContext& context);
[[nodiscard]] std::string configuredModel(const RuntimeContext& context);
// Only models of the coding plan are used; the whole GLM path is refused without one.
[[nodiscard]] bool isCodingPlanModel(std::string_view model);
void version(const std::string& executable, const RuntimeContext& context, MainThread& mainThread, VersionCompletion completion);
void authSummary(const std::string& executable, const RuntimeContext& context, MainThread& mainThread, VersionCompletion completion);
} // namespace OpenCodeLocator

namespace ClaudeLocator
{
inline constexpr const char* customPathKey = "claudeExecutablePath";
inline constexpr const char* modelKey = "claudeModel";
inline constexpr const char* defaultModel = "sonnet";
[[nodiscard]] std::optional<std::string> findExecutable(const RuntimeContext& context);
[[nodiscard]] Environment subscriptionEnvironment(const RuntimeContext& context);
[[nodiscard]] std::string configuredModel(const RuntimeContext& context);
void inspect(const std::string& executable, const RuntimeContext& context, MainThread& mainThread, InspectCompletion completion);
} // namespace ClaudeLocator

} // namespace tessarin
