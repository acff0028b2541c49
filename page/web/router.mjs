// The view that the address names: #/month/2026-10, #/day/2026-10-07/14 ...
import { change } from './store.mjs';

const kFirst = 'month';

/** The link to a view; arguments that are missing at the end are left out. */
export function link(view, ...args) {
    while (args.length && (args.at(-1) === undefined || args.at(-1) === null)) args.pop();
    return `#/${[view, ...args.map((arg) => encodeURIComponent(arg ?? ''))].join('/')}`;
}

export function readRoute(hash) {
    try {
        const [view, ...args] = hash.replace(/^#\/?/, '').split('/').map(decodeURIComponent);
        return { view: view || kFirst, args };
    } catch {
        return { view: kFirst, args: [] };
    }
}

export const go = (...to) => (location.hash = link(...to));

export function follow() {
    const read = () => change({ route: readRoute(location.hash), find: '', form: {} });
    addEventListener('hashchange', read);
    read();
}
