// The agent's complaints are the measure of the client, so each kind of them is provoked here once: a conversation that keeps to the
// protocol is passed in silence, and each broken message is named on stderr.

import assert from "node:assert/strict";
import { spawn } from "node:child_process";
import { once } from "node:events";
import * as fs from "node:fs";
import * as os from "node:os";
import * as path from "node:path";
import { createInterface } from "node:readline";
import { test } from "node:test";
import { fileURLToPath } from "node:url";

const agentPath = fileURLToPath(new URL("agent.mjs", import.meta.url));

class Agent {
    #child;
    #lines;
    #errors = "";

    constructor(folder) {
        this.#child = spawn(process.execPath, [agentPath], { env: { ...process.env, AGENT_STATE: folder } });
        this.#child.stderr.on("data", (bytes) => {
            this.#errors += bytes;
        });
        this.#lines = createInterface({ input: this.#child.stdout })[Symbol.asyncIterator]();
    }

    write(message) {
        this.#child.stdin.write((typeof message === "string" ? message : JSON.stringify(message)) + "\n");
    }

    // The next message that is an answer or a request; updates are passed over.
    async next() {
        for (;;) {
            const { value, done } = await this.#lines.next();
            assert.ok(!done, `the agent ended: ${this.#errors}`);
            const message = JSON.parse(value);
            if (message.method !== "session/update") return message;
        }
    }

    async ask(message) {
        this.write({ jsonrpc: "2.0", ...message });
        return this.next();
    }

    async end() {
        this.#child.stdin.end();
        await once(this.#child, "close");
        return this.#errors;
    }
}

const initialize = {
    id: 1,
    method: "initialize",
    params: {
        protocolVersion: 1,
        clientCapabilities: { fs: { readTextFile: true, writeTextFile: true }, terminal: true },
        clientInfo: { name: "test", version: "1" },
    },
};
const newSession = (cwd) => ({ id: 2, method: "session/new", params: { cwd, mcpServers: [] } });
const promptOf = (sessionId, words) => ({
    id: 3,
    method: "session/prompt",
    params: { sessionId, prompt: [{ type: "text", text: `TURN:${words}` }] },
});

async function conversation(play) {
    const folder = fs.mkdtempSync(path.join(os.tmpdir(), "interop-agent-"));
    const agent = new Agent(folder);
    try {
        await play(agent, folder);
    } finally {
        agent.errors = await agent.end();
        fs.rmSync(folder, { recursive: true });
    }
    return agent.errors;
}

test("a conversation by the rules is passed in silence", async () => {
    const errors = await conversation(async (agent, folder) => {
        assert.equal((await agent.ask(initialize)).result.protocolVersion, 1);
        const { sessionId } = (await agent.ask(newSession(folder))).result;
        assert.equal((await agent.ask(promptOf(sessionId, "everything"))).result.stopReason, "end_turn");
        const question = await agent.ask(promptOf(sessionId, "asking"));
        assert.equal(question.method, "_example/unknown");
        const answer = await agent.ask({ id: question.id, error: { code: -32601, message: "Unsupported ACP method: _example/unknown" } });
        assert.equal(answer.result.stopReason, "end_turn");
        const loaded = await agent.ask({ id: 4, method: "session/load", params: { sessionId, cwd: folder, mcpServers: [] } });
        assert.deepEqual(loaded.result, {});
    });
    assert.equal(errors, "");
});

const broken = [
    ["text that is no JSON", "{oops", /-32700/],
    ["an array", "[]", /-32600/],
    ["a message without jsonrpc", { id: 9, method: "session/cancel", params: { sessionId: "x" } }, /without jsonrpc/],
    ["a key beside the envelope's", { jsonrpc: "2.0", id: 9, method: "session/list", params: {}, extra: 1 }, /the key extra/],
    ["a required key that is missing", { jsonrpc: "2.0", id: 9, method: "session/new", params: { cwd: "/" } }, /mcpServers/],
    ["an unknown method", { jsonrpc: "2.0", id: 9, method: "session/made_up", params: {} }, /session\/made_up is not part/],
    ["an unknown key", { jsonrpc: "2.0", id: 9, method: "session/new", params: { cwd: "/", mcpServers: [], mode: "x" } }, /params\.mode/],
    [
        "a value that the library puts a default for",
        { jsonrpc: "2.0", id: 9, method: "initialize", params: { protocolVersion: 1, clientCapabilities: { terminal: "yes" } } },
        /initialize/,
    ],
    ["an answer that nobody waits for", { jsonrpc: "2.0", id: 77, result: {} }, /unknown id 77/],
    ["a notification without its session", { jsonrpc: "2.0", method: "session/cancel", params: {} }, /session\/cancel.*sessionId/],
];

for (const [name, message, complaint] of broken) {
    test(`${name} is named`, async () => {
        const errors = await conversation(async (agent) => {
            await agent.ask(initialize);
            agent.write(message);
        });
        assert.match(errors, /^INVALID /);
        assert.match(errors, complaint);
    });
}

test("an answer with both result and error is named", async () => {
    const errors = await conversation(async (agent, folder) => {
        await agent.ask(initialize);
        const { sessionId } = (await agent.ask(newSession(folder))).result;
        const question = await agent.ask(promptOf(sessionId, "asking"));
        agent.write({ jsonrpc: "2.0", id: question.id, result: {}, error: { code: 1, message: "x" } });
        await agent.next();
    });
    assert.match(errors, /not exactly one of result and error/);
});
