// What surrounds every view: navigation, switches, banners, live regions.
import { need } from '../answers.mjs';
import { link } from '../router.mjs';
import { signOut } from '../session.mjs';
import { change, hasRole, store } from '../store.mjs';
import { count, kLanguages, language, speak, t } from '../texts/texts.mjs';
import { html, nothing } from '../vendor/lit-html/lit-html.mjs';
import { icon, isMe } from './parts.mjs';

async function chooseLanguage(tag) {
    localStorage.setItem('zuk-language', tag);
    await speak(tag);
    change();
}

const kNames = { sl: 'Slovenščina', en: 'English' };

const isDark = () =>
    (store.theme || (matchMedia('(prefers-color-scheme: dark)').matches ? 'dark' : 'light')) === 'dark';

function turnTheme() {
    const theme = isDark() ? 'light' : 'dark';
    localStorage.setItem('zuk-theme', theme);
    document.documentElement.dataset.theme = theme;
    change({ theme });
}

export const switches = () => html`
    ${kLanguages
        .filter((tag) => tag !== language)
        .map(
            (tag) => html`<button class="button quiet" lang=${tag}
        @click=${() => chooseLanguage(tag)}>${kNames[tag]}</button>`,
        )}
    <button class="button quiet square" aria-label=${t(isDark() ? 'toLight' : 'toDark')} @click=${turnTheme}>
        ${icon(isDark() ? 'sun' : 'moon')}</button>`;

function waitingRequests() {
    const waiting = hasRole() ? need('requests', { scope: 'open' }).data?.requests.length : 0;
    return waiting ? html`<span class="badge" aria-label=${count(waiting, 'waiting')}>${waiting}</span>` : nothing;
}

const kBelongs = { day: 'month', new: 'requests' };
const kUserAt = { month: 1, day: 1, balance: 0 }; // argument that names the employee

/** Which item of the navigation the view is under; of another employee it is what one oversees. */
const placeOf = (view) => (isMe(store.route.args[kUserAt[view]]) ? (kBelongs[view] ?? view) : 'department');

function navigation(shown) {
    const current = placeOf(shown);
    const item = (view, more = nothing) => html`<a href=${link(view)}
        aria-current=${current === view ? 'page' : nothing}
        >${icon(view)}<span>${t(`nav ${view}`)}</span>${more}</a>`;
    return html`<nav class="views" aria-label=${t('views')}>
        ${item('month')}${item('presence')}${item('balance')}${item('requests', waitingRequests())}
        ${hasRole() ? item('department') : nothing}</nav>`;
}

const banner = () => {
    const text = store.link === 'lost' ? 'lost' : store.gone ? 'gone' : '';
    return html`<div class="banner ${text}" role="status">${text ? t(text) : ''}</div>`;
};

export const shell = (name, title, view) => html`
    <a class="skip" href="#title" @click=${skip}>${t('skip')}</a>
    <header class="top">
        <span class="brand">${t('product')}</span>
        ${navigation(name)}
        <div class="tools"><span class="who">${store.me.name}</span>${switches()}
            <button class="button quiet" @click=${signOut}>${t('signOut')}</button></div>
    </header>
    ${banner()}
    <main class="view-${name}">${view ?? html`<p class="loading" role="status">${t('loading')}</p>`}</main>
    <div class="note" role="status">${store.note ? html`<p>${store.note}</p>` : nothing}</div>
    <p class="hidden" role="status">${store.spoken}</p>`;

function skip(event) {
    event.preventDefault();
    document.getElementById('title')?.focus();
}
