// Drives a runtime with the official TypeScript client and counts what arrives: the handshake, a first prompt so that everything is
// warm, and one prompt that is measured, from its sending until all its updates and its answer are there. Nothing is done with an
// update but to add up its text. Prints one line of JSON: {"updates": ..., "textCharacters": ..., "seconds": ...}.
//   node ingest.mjs <program> <arguments...>

import { spawn } from "node:child_process";
import { Readable, Writable } from "node:stream";

import { client, methods, ndJsonStream, PROTOCOL_VERSION } from "@agentclientprotocol/sdk";

const [program, ...args] = process.argv.slice(2);
const child = spawn(program, args, { stdio: ["pipe", "pipe", "inherit"] });

let updates = 0;
let text = 0;

const app = client({ name: "ingest" }).onNotification(methods.client.session.update, ({ params }) => {
    updates += 1;
    const { content } = params.update;
    if (content?.type === "text") text += content.text.length;
});

await app.connectWith(ndJsonStream(Writable.toWeb(child.stdin), Readable.toWeb(child.stdout)), async (agent) => {
    await agent.request(methods.agent.initialize, {
        protocolVersion: PROTOCOL_VERSION,
        clientCapabilities: { fs: { readTextFile: true, writeTextFile: true }, terminal: true },
    });
    const { sessionId } = await agent.request(methods.agent.session.new, { cwd: process.cwd(), mcpServers: [] });
    const prompt = { sessionId, prompt: [{ type: "text", text: "go" }] };
    await agent.request(methods.agent.session.prompt, prompt);

    updates = 0;
    text = 0;
    const start = process.hrtime.bigint();
    await agent.request(methods.agent.session.prompt, prompt);
    const seconds = Number(process.hrtime.bigint() - start) / 1e9;
    console.log(JSON.stringify({ updates, textCharacters: text, seconds }));
});
child.kill();
