// Signing in and out, and what the server pushes.
import { age, ageEmployees, forget, patchPresence } from './answers.mjs';
import { connect, disconnect, onPush } from './live.mjs';
import { change, store, tell } from './store.mjs';
import { t } from './texts/texts.mjs';

const kPushes = {
    hello({ me, today, now: time, zone }) {
        if (store.me?.id !== me.id) forget();
        const isAgain = store.me !== null;
        change({
            me,
            today,
            zone,
            link: 'open',
            signedOut: false,
            isEnded: false,
            gone: false,
            skew: time - Math.floor(Date.now() / 1000),
        });
        if (isAgain) age();
    },
    signedOut: () => leave(store.me !== null),
    presence: ({ changes }) => patchPresence(changes),
    changed: ({ employees }) => ageEmployees(employees),
    requests: () => age(({ name }) => ['requests', 'month', 'day', 'department'].includes(name)),
    database({ state }) {
        change({ gone: state === 'gone' });
        if (state === 'back') age();
    },
    day({ today }) {
        change({ today });
        age();
    },
};

onPush((message) => kPushes[message.push]?.(message));

/** `isEnded` where it was not the user who ended it. */
function leave(isEnded = false) {
    change({ me: null, signedOut: true, isEnded, link: 'opening' });
    disconnect();
    forget();
}

/** "" when it worked, else the code of what went wrong. */
export async function signIn(user, pass) {
    try {
        const response = await fetch('login', { method: 'POST', body: new URLSearchParams({ user, pass }) });
        const answer = await response.json();
        if (!answer.ok) return answer.error;
    } catch {
        return 'lost';
    }
    change({ signedOut: false, link: 'opening' });
    connect();
    return '';
}

export async function signOut() {
    try {
        await fetch('logout', { method: 'POST' });
        leave();
    } catch {
        tell(t('error lost'));
    }
}
