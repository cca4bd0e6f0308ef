// An ACP agent on the official TypeScript library. It takes any arguments, as each vendor's runtime takes its own.
// Environment: AGENT_STATE, a folder for the sessions that can be loaded again; AGENT_TRANSCRIPT, a file to which every message is
// appended; AGENT_EXHAUSTED, set when this agent's allowance is used up; AGENT_MODELS, the models that it takes, with commas.

import { randomUUID } from "node:crypto";
import * as fs from "node:fs";
import * as path from "node:path";
import { Readable, Writable } from "node:stream";

import { agent, methods, ndJsonStream, PROTOCOL_VERSION, RequestError } from "@agentclientprotocol/sdk";

import { Inspector } from "./inspector.mjs";
import { turnNamed } from "./turns.mjs";

const inspector = new Inspector(process.env.AGENT_TRANSCRIPT);
const sessions = new Map(); // id: { cancel }

const modes = ["manual", "auto", "yolo"];
const models = (process.env.AGENT_MODELS ?? "zai-coding-plan/glm-4.7").split(",");

function historyPath(sessionId) {
    return path.join(process.env.AGENT_STATE, `${sessionId}.jsonl`);
}

function remember(sessionId, update) {
    fs.appendFileSync(historyPath(sessionId), JSON.stringify(update) + "\n");
}

function requireFolder(folder) {
    if (!path.isAbsolute(folder) || !fs.statSync(folder).isDirectory()) inspector.complain(`cwd is no folder: ${folder}`);
}

function selection(id, name, values, currentValue) {
    return { id, name, type: "select", currentValue, options: values.map((value) => ({ value, name: value })) };
}

function requireSession(sessionId) {
    const session = sessions.get(sessionId);
    if (session === undefined) throw RequestError.resourceNotFound(sessionId);
    return session;
}

function initialize({ params, requestId }) {
    inspector.understoodRequest("initialize", requestId, params);
    return {
        protocolVersion: PROTOCOL_VERSION,
        agentCapabilities: { loadSession: true },
        agentInfo: { name: "interop-agent", version: "1.0.0" },
    };
}

function newSession({ params, requestId }) {
    inspector.understoodRequest("session/new", requestId, params);
    requireFolder(params.cwd);
    const sessionId = randomUUID();
    fs.writeFileSync(historyPath(sessionId), "");
    sessions.set(sessionId, {});
    return { sessionId };
}

async function loadSession({ params, requestId, client }) {
    inspector.understoodRequest("session/load", requestId, params);
    requireFolder(params.cwd);
    if (!fs.existsSync(historyPath(params.sessionId))) throw RequestError.resourceNotFound(params.sessionId);
    sessions.set(params.sessionId, {});
    const history = fs.readFileSync(historyPath(params.sessionId), "utf8").split("\n").filter((line) => line !== "");
    for (const line of history) {
        await client.notify(methods.client.session.update, { sessionId: params.sessionId, update: JSON.parse(line) });
    }
    return {};
}

function setConfigOption({ params, requestId }) {
    inspector.understoodRequest("session/set_config_option", requestId, params);
    requireSession(params.sessionId);
    const known = { mode: modes, model: models }[params.configId];
    if (known === undefined || !known.includes(params.value)) {
        throw new RequestError(-32001, `Unknown ${params.configId}: ${params.value}`);
    }
    return {
        configOptions: [
            selection("mode", "Mode", modes, params.configId === "mode" ? params.value : modes[0]),
            selection("model", "Model", models, params.configId === "model" ? params.value : models[0]),
        ],
    };
}

async function prompt({ params, requestId, client }) {
    inspector.understoodRequest("session/prompt", requestId, params);
    const { sessionId } = params;
    const session = requireSession(sessionId);
    const play = turnNamed(params.prompt);
    const messageId = randomUUID();
    for (const content of params.prompt) remember(sessionId, { sessionUpdate: "user_message_chunk", messageId, content });
    const cancelled = new Promise((resolve) => {
        session.cancel = resolve;
    });
    const update = async (change) => {
        remember(sessionId, change);
        await client.notify(methods.client.session.update, { sessionId, update: change });
    };
    return { stopReason: await play({ update, cancelled, client, isExhausted: process.env.AGENT_EXHAUSTED !== undefined }) };
}

function cancel({ params }) {
    inspector.understoodNotification("session/cancel", params);
    requireSession(params.sessionId).cancel?.();
}

const stream = ndJsonStream(inspector.output(Writable.toWeb(process.stdout)), Readable.toWeb(process.stdin));
const connection = agent({ name: "interop-agent" })
    .onRequest(methods.agent.initialize, initialize)
    .onRequest(methods.agent.session.new, newSession)
    .onRequest(methods.agent.session.load, loadSession)
    .onRequest(methods.agent.session.setConfigOption, setConfigOption)
    .onRequest(methods.agent.session.prompt, prompt)
    .onNotification(methods.agent.session.cancel, cancel)
    .connect({ readable: inspector.input(stream.readable), writable: stream.writable });

await connection.closed;
