// Watches both directions of the agent's connection and says on stderr, in one line each, whatever the protocol does not allow; the
// transcript has the same.
// The library forgives much: it drops unknown keys and puts defaults in place of optional values that it cannot read. A client that
// relies on that is wrong all the same, so three things are held against each message: the library's own JSON schema, what its parser
// made of the message, and the protocol errors that it answers by itself.

import * as fs from "node:fs";
import { createRequire } from "node:module";

import * as z from "zod";

const require = createRequire(import.meta.url);
const official = JSON.parse(fs.readFileSync(require.resolve("@agentclientprotocol/sdk/schema/v1/schema.json"), "utf8"));

// JSON-RPC's own error codes: with these the library refuses a message. What the agent's turns answer on purpose has other codes.
const refusals = new Set([-32700, -32600, -32601, -32602, -32603]);

function parserOf(definitionName) {
    return z.fromJSONSchema({ ...official.$defs[definitionName], $defs: official.$defs });
}

function definitionsBySide(side, suffix) {
    const found = new Map();
    for (const [name, definition] of Object.entries(official.$defs)) {
        if (definition["x-side"] === side && name.endsWith(suffix)) found.set(definition["x-method"], name);
    }
    return found;
}

const requestDefinitions = definitionsBySide("agent", "Request");
const notificationDefinitions = definitionsBySide("agent", "Notification");
const answerDefinitions = definitionsBySide("client", "Response");
const parsers = new Map();

function schemaComplaint(definitionName, value) {
    if (!parsers.has(definitionName)) parsers.set(definitionName, parserOf(definitionName));
    const outcome = parsers.get(definitionName).safeParse(value);
    return outcome.success ? undefined : JSON.stringify(outcome.error.issues);
}

// The first place at which `parsed` lacks something of `raw`: what the library's parser dropped or replaced.
function lostAt(raw, parsed, path = "params") {
    if (typeof raw !== "object" || raw === null) return Object.is(raw, parsed) ? undefined : path;
    if (typeof parsed !== "object" || parsed === null || Array.isArray(raw) !== Array.isArray(parsed)) return path;
    for (const [key, value] of Object.entries(raw)) {
        const lost = Object.hasOwn(parsed, key) ? lostAt(value, parsed[key], `${path}.${key}`) : `${path}.${key}`;
        if (lost !== undefined) return lost;
    }
    return undefined;
}

export class Inspector {
    #asked = new Map(); // id of an open request of the agent: its method
    #raw = new Map(); // id of a request of the client: its params as they came
    #rawNotifications = []; // params of notifications whose handler has not run yet
    #transcript;

    constructor(transcriptPath) {
        this.#transcript = transcriptPath;
    }

    complain(text) {
        this.#note("invalid", text);
        fs.writeSync(2, `INVALID ${text}\n`);
    }

    #note(what, value) {
        if (this.#transcript !== undefined) fs.appendFileSync(this.#transcript, JSON.stringify({ [what]: value }) + "\n");
    }

    // Between the library and the client: the bytes that go out, each write being one line.
    output(stream) {
        const encoderWriter = stream.getWriter();
        return new WritableStream({
            write: async (bytes) => {
                this.#sent(JSON.parse(new TextDecoder().decode(bytes)));
                await encoderWriter.write(bytes);
            },
        });
    }

    // Between the client and the library: the messages that were read.
    input(stream) {
        const received = (message) => this.#received(message);
        return stream.pipeThrough(new TransformStream({
            transform(message, controller) {
                received(message);
                controller.enqueue(message);
            },
        }));
    }

    #sent(message) {
        this.#note("sent", message);
        if (typeof message.method === "string" && message.id !== undefined) this.#asked.set(message.id, message.method);
        if (message.error !== undefined && refusals.has(message.error.code)) this.complain(`refused: ${JSON.stringify(message.error)}`);
        if (message.method === "session/update") {
            const complaint = schemaComplaint("SessionNotification", message.params);
            if (complaint !== undefined) this.complain(`our own update: ${complaint}`);
        }
    }

    #received(message) {
        this.#note("received", message);
        if (message.jsonrpc !== "2.0") this.complain("a message without jsonrpc 2.0");
        for (const key of Object.keys(message)) {
            if (!["jsonrpc", "id", "method", "params", "result", "error"].includes(key)) this.complain(`the envelope has the key ${key}`);
        }
        if (typeof message.method !== "string") {
            this.#receivedAnswer(message);
        } else if (message.id !== undefined) {
            this.#raw.set(message.id, message.params);
            this.#hold(requestDefinitions.get(message.method), message.method, message.params);
        } else {
            this.#rawNotifications.push(message.params);
            this.#hold(notificationDefinitions.get(message.method), message.method, message.params);
        }
    }

    #receivedAnswer(message) {
        const method = this.#asked.get(message.id);
        if (method === undefined) {
            this.complain(`an answer to the unknown id ${JSON.stringify(message.id)}`);
            return;
        }
        this.#asked.delete(message.id);
        const isError = message.error !== undefined;
        if (isError === (message.result !== undefined)) this.complain(`the answer to ${method} has not exactly one of result and error`);
        if (isError && (!Number.isInteger(message.error.code) || typeof message.error.message !== "string")) {
            this.complain(`the error for ${method} has no whole code or no message`);
        }
        // A method of our own has no definition; its answer is free.
        if (!isError && answerDefinitions.has(method)) this.#hold(answerDefinitions.get(method), method, message.result);
    }

    #hold(definitionName, method, value) {
        if (definitionName === undefined) {
            this.complain(`${method} is not part of the protocol`);
            return;
        }
        const complaint = schemaComplaint(definitionName, value);
        if (complaint !== undefined) this.complain(`${method}: ${complaint}`);
    }

    // Called by each handler with what the library made of the params.
    understoodRequest(method, requestId, parsed) {
        const lost = lostAt(this.#raw.get(requestId), parsed);
        this.#raw.delete(requestId);
        if (lost !== undefined) this.complain(`${method}: the library does not know ${lost}`);
    }

    understoodNotification(method, parsed) {
        const lost = lostAt(this.#rawNotifications.shift(), parsed);
        if (lost !== undefined) this.complain(`${method}: the library does not know ${lost}`);
    }
}
