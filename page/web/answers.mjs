// What the views need from the server: asked for once, kept, and asked for again when a push says that it may have
// changed. A view that is drawn says what it needs; so what is on the screen is always known.
import { ask } from './live.mjs';
import { change, store } from './store.mjs';

const kMost = 60;
const kRetryMs = 5000;
const kPassing = ['database', 'busy', 'lost'];

const entries = new Map();
let drawing = 0;

/** Before each drawing. */
export function beginDrawing() {
    ++drawing;
    for (const [key, entry] of entries) {
        if (entries.size <= kMost) break;
        if (entry.drawn < drawing - 1 && !entry.isAsking) entries.delete(key);
    }
}

/** The entry of an ask: `data` the last answer or null, `error` the code of its failure or null. */
export function need(name, fields = {}) {
    const entry = ahead(name, fields);
    entry.isAuto &&= entry.drawn >= drawing - 1; // who comes back to a view asks for it
    entry.drawn = drawing;
    if (entry.isOld && !entry.isAsking && store.link === 'open') fetchEntry(entry);
    return entry;
}

/** As need(), for what is not on the screen but may be next: asked for once, and not again before it is needed. */
export function ahead(name, fields = {}) {
    const key = JSON.stringify([name, fields]);
    let entry = entries.get(key);
    if (!entry) {
        entry = { name, fields, data: null, error: null, isOld: true, isAsking: false, isAuto: false, drawn: drawing };
        entries.set(key, entry);
        if (store.link === 'open') fetchEntry(entry);
    }
    return entry;
}

async function fetchEntry(entry) {
    entry.isAsking = true;
    entry.isOld = false;
    try {
        entry.data = await ask(entry.name, entry.isAuto ? { ...entry.fields, auto: true } : entry.fields);
        entry.error = null;
    } catch ({ message }) {
        entry.error = message;
        if (kPassing.includes(message)) setTimeout(() => age((each) => each === entry), kRetryMs);
    }
    entry.isAsking = false;
    change();
}

/** What the test finds is asked for again when it is needed; by itself, so that it does not keep the session alive. */
export function age(test = () => true) {
    for (const entry of entries.values()) {
        if (test(entry)) Object.assign(entry, { isOld: true, isAuto: true });
    }
    change();
}

export const forget = () => entries.clear();

/** Of these employees, or of all where there is no list. */
export function ageEmployees(ids) {
    const isOf = ({ name, fields }) =>
        name === 'department' ||
        (['month', 'day', 'balance'].includes(name) && ids.includes(fields.user ?? store.me?.id));
    age(ids ? isOf : undefined);
}

/** Puts changed entries of the presence list in their places. */
export function patchPresence(changes) {
    const people = entries.get('["presence",{}]')?.data?.people;
    for (const each of people ? changes : []) {
        const at = people.findIndex(({ id }) => id === each.id);
        people.splice(at < 0 ? people.length : at, 1, { ...each, changed: Date.now() });
    }
    change();
}
