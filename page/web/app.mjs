// Start of the page, and its drawing: the whole of it, whenever the store has changed.
import { beginDrawing } from './answers.mjs';
import { connect } from './live.mjs';
import { follow } from './router.mjs';
import './session.mjs';
import { change, onChange, store } from './store.mjs';
import { firstLanguage, speak, t } from './texts/texts.mjs';
import { render } from './vendor/lit-html/lit-html.mjs';
import { loginView } from './views/login.mjs';
import * as month from './views/month.mjs';
import { shell } from './views/shell.mjs';

const kBeatMs = 5000; // so often today's hours may grow on the screen

/** Views that are fetched when they are first opened. Each has title() and view(), both of the route's arguments. */
const kViews = {
    month: () => month,
    day: () => import('./views/day.mjs'),
    presence: () => import('./views/presence.mjs'),
    balance: () => import('./views/balance.mjs'),
    requests: () => import('./views/requests.mjs'),
    new: () => import('./views/requestform.mjs'),
    department: () => import('./views/department.mjs'),
};
const loaded = { month };

async function load(name) {
    loaded[name] = null;
    loaded[name] = await kViews[name]();
    change();
}

let shown = ''; // the view and its arguments, as they were drawn last

/**
 * After a change of the view its heading gets the focus; within one view, and when the page is opened, the focus stays.
 * Then the title is read out.
 */
function settle(name, title, isReady) {
    document.title = title ? `${title} · ${t('product')}` : t('product');
    const address = `${name} ${store.route.args}`;
    if (!isReady || name === 'opening' || address === shown) return;
    const isFirst = shown === '';
    const isSameView = shown.split(' ')[0] === name;
    shown = address;
    if (isFirst || isSameView) change({ spoken: title });
    else document.getElementById('title')?.focus({ preventScroll: true });
    if (!isSameView) scrollTo(0, 0);
}

function draw() {
    beginDrawing();
    const root = document.getElementById('app');
    if (!store.me) {
        render(loginView(), root);
        settle(store.signedOut ? 'login' : 'opening', store.signedOut ? t('signIn') : '', true);
        return;
    }
    const name = store.route.view in kViews ? store.route.view : 'month';
    if (!(name in loaded)) load(name);
    const view = loaded[name];
    const title = view?.title(...store.route.args) ?? '';
    render(shell(name, title, view?.view(...store.route.args)), root);
    settle(name, title, view);
}

connect(); // while the catalogue comes
await speak(firstLanguage());
store.theme = document.documentElement.dataset.theme ?? '';
onChange(draw);
follow();
setInterval(() => document.visibilityState === 'visible' && change(), kBeatMs);
