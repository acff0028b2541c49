// The one store of the page. Whoever changes it says so with change(), which has the page drawn again.

export const store = {
    me: null, // who is signed in, as "hello" tells it
    today: '', // the server's date
    skew: 0, // server clock minus ours, seconds
    zone: undefined, // the server's time zone; undefined: the browser's
    link: 'opening', // opening, open, lost
    signedOut: false,
    isEnded: false, // signed out by the server
    gone: false, // the server cannot read its file
    route: { view: 'month', args: [] },
    theme: '', // light, dark; empty: the system's
    find: '', // what the search field holds
    spoken: '', // for the live region
    note: '', // a message at the lower edge
    form: {}, // what a form of the view wants to keep between drawings
};

let draw = () => {};
let isWaiting = false;

/** Who draws; called once for any number of changes before the next frame. */
export const onChange = (callback) => (draw = callback);

export function change(patch = {}) {
    Object.assign(store, patch);
    if (isWaiting) return;
    isWaiting = true;
    const once = () => {
        if (isWaiting) draw();
        isWaiting = false;
    };
    requestAnimationFrame(once);
    setTimeout(once, 250); // a hidden page has no frames
}

/** The server's time, Unix seconds. */
export const now = () => Math.floor(Date.now() / 1000) + store.skew;

export const hasRole = () => store.me.roles.length > 0;

let noteTimer;

/** Shows a message for a while, and has it read out. */
export function tell(note) {
    clearTimeout(noteTimer);
    noteTimer = setTimeout(() => change({ note: '' }), 6000);
    change({ note });
}
