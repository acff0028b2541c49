// The WebSocket: asks and their answers, pushes, and the way back when the connection is lost.
import { change, store } from './store.mjs';

const kAnswerMs = 20000; // an ask without an answer for so long means that the connection is dead
const kFirstWaitMs = 500;
const kLongestWaitMs = 30000;
const kSignedOutCode = 4401;

let socket = null;
let lastId = 0;
let losses = 0;
let timer;
let receive = () => {};
const waiting = new Map(); // id to {resolve, reject, timer}

/** Who gets the pushes. */
export const onPush = (callback) => (receive = callback);

/**
 * The answer; rejected with an Error whose message is the code: the server's, or "lost" without a connection. `reason`
 * and `date` say more, where the server does.
 */
export function ask(name, fields) {
    return new Promise((resolve, reject) => {
        if (socket?.readyState !== WebSocket.OPEN) return reject(new Error('lost'));
        const id = ++lastId;
        waiting.set(id, { resolve, reject, timer: setTimeout(() => lose(), kAnswerMs) });
        socket.send(JSON.stringify({ id, ask: name, ...fields }));
    });
}

function hear(message) {
    if (message.push) {
        if (message.push === 'hello') losses = 0;
        return receive(message);
    }
    const asked = waiting.get(message.id);
    waiting.delete(message.id);
    clearTimeout(asked?.timer);
    if (message.ok) asked?.resolve(message);
    else asked?.reject(Object.assign(new Error(message.error), { reason: message.reason, date: message.date }));
}

/** Leaves the connection; what waits for answers is told. */
export function disconnect() {
    const old = socket;
    socket = null;
    clearTimeout(timer);
    if (old) {
        old.onclose = old.onmessage = null;
        old.close();
    }
    for (const { reject, timer: each } of waiting.values()) {
        clearTimeout(each);
        reject(new Error('lost'));
    }
    waiting.clear();
}

function lose(code) {
    disconnect();
    if (store.signedOut || code === kSignedOutCode) return;
    change({ link: 'lost' });
    // Spread, so that a restarted server does not get everybody in one moment.
    const wait = Math.min(kLongestWaitMs, kFirstWaitMs * 2 ** losses++) * (0.5 + Math.random());
    timer = setTimeout(connect, wait);
}

export function connect() {
    clearTimeout(timer);
    if (socket) return;
    const url = new URL('live', location.href);
    url.protocol = url.protocol.replace('http', 'ws');
    socket = new WebSocket(url);
    socket.onmessage = ({ data }) => hear(JSON.parse(data));
    socket.onclose = ({ code }) => lose(code);
}

const hurry = () => {
    if (store.link === 'lost' && document.visibilityState === 'visible') connect();
};
addEventListener('online', hurry);
document.addEventListener('visibilitychange', hurry);
