// What the agent does in a turn. A prompt names one by "TURN:<name>"; the last such word in it counts, so that a prompt may quote
// an earlier one.

import { RequestError } from "@agentclientprotocol/sdk";

const text = (words) => ({ type: "text", text: words });

export const updatesOfAWholeTurn = [
    { sessionUpdate: "agent_thought_chunk", messageId: "t1", content: text("The person wants ") },
    { sessionUpdate: "agent_thought_chunk", messageId: "t1", content: text("everything.") },
    {
        sessionUpdate: "plan",
        entries: [
            { content: "Read the file", priority: "high", status: "in_progress" },
            { content: "Write the answer", priority: "medium", status: "pending" },
        ],
    },
    { sessionUpdate: "agent_message_chunk", messageId: "m1", content: text("I read ") },
    { sessionUpdate: "agent_message_chunk", messageId: "m1", content: text("the file: größer, 你好, 👩‍🚀.") },
    {
        sessionUpdate: "tool_call",
        toolCallId: "call-1",
        title: "Read notes.txt",
        kind: "read",
        status: "pending",
        rawInput: { path: "notes/today.txt", limit: 3 },
        locations: [{ path: "/notes/today.txt", line: 1 }],
    },
    {
        sessionUpdate: "tool_call_update",
        toolCallId: "call-1",
        title: "Read notes.txt",
        status: "completed",
        content: [{ type: "content", content: text("three lines") }],
        rawOutput: { lines: 3 },
    },
    {
        sessionUpdate: "plan",
        entries: [
            { content: "Read the file", priority: "high", status: "completed" },
            { content: "Write the answer", priority: "medium", status: "in_progress" },
        ],
    },
    { sessionUpdate: "agent_message_chunk", messageId: "m2", content: text("Done.") },
    { sessionUpdate: "usage_update", used: 1200, size: 200000 },
];

async function everything(turn) {
    for (const update of updatesOfAWholeTurn) await turn.update(update);
    return "end_turn";
}

// Text without ids.
async function brief(turn) {
    await turn.update({ sessionUpdate: "agent_thought_chunk", content: text("Short.") });
    await turn.update({ sessionUpdate: "agent_message_chunk", content: text("A short ") });
    await turn.update({ sessionUpdate: "agent_message_chunk", content: text("answer.") });
    return "end_turn";
}

// Says one thing and then works until it is told to stop.
async function endless(turn) {
    await turn.update({ sessionUpdate: "agent_message_chunk", messageId: "e1", content: text("Working") });
    await turn.cancelled;
    await turn.update({ sessionUpdate: "agent_message_chunk", messageId: "e1", content: text(", stopped.") });
    return "cancelled";
}

async function failing() {
    throw new RequestError(-32000, "The model is on fire: 503");
}

async function limited(turn) {
    if (!turn.isExhausted) return everything(turn);
    throw new RequestError(-32003, "Usage limit reached for this week");
}

async function flood(turn) {
    for (let n = 0; n < 20000; n += 1) {
        await turn.update({ sessionUpdate: "agent_message_chunk", messageId: `f${Math.floor(n / 100)}`, content: text(`${n} `) });
    }
    return "end_turn";
}

// Asks the client for something that no client knows, and tells in the answer how it was refused.
async function asking(turn) {
    const refusal = await turn.client.request("_example/unknown", { question: "?" }).then(
        () => "no error",
        (error) => `${error.code} ${error.message}`,
    );
    await turn.update({ sessionUpdate: "agent_message_chunk", messageId: "a1", content: text(refusal) });
    return "end_turn";
}

// The process ends in the middle of the turn, with a word on stderr.
async function dying(turn) {
    await turn.update({ sessionUpdate: "agent_message_chunk", messageId: "d1", content: text("Going down") });
    process.stderr.write("out of memory\n", () => process.exit(9));
    return new Promise(() => {});
}

const turns = { everything, brief, endless, failing, limited, flood, asking, dying };

export function turnNamed(prompt) {
    const words = prompt.map((block) => (block.type === "text" ? block.text : "")).join("\n");
    const names = [...words.matchAll(/TURN:(\w+)/g)];
    const play = turns[names.at(-1)?.[1]];
    if (play === undefined) throw new RequestError(-32000, "The prompt names no turn of this agent");
    return play;
}
