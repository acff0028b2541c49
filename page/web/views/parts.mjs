// What several views share.
import { duration, monthOf, signed } from '../format.mjs';
import { link } from '../router.mjs';
import { store } from '../store.mjs';
import { language, named, t } from '../texts/texts.mjs';
import { html, nothing, svg } from '../vendor/lit-html/lit-html.mjs';

const kIcons = {
    month: svg`<rect x="3.5" y="5" width="17" height="15.5" rx="2.5"/><path d="M3.5 10h17M8 2.5V7m8-4.5V7"/>`,
    presence: svg`<circle cx="9" cy="8" r="3.7"/>
        <path d="M2.5 20c.4-4 3-6 6.5-6s6.1 2 6.5 6M16 4.6a3.7 3.7 0 0 1 0 6.8m2 3c2 .9 3.2 2.8 3.5 5.6"/>`,
    balance: svg`<path d="M12 3.500v17M5 6.500h14M8 20.500h8M5 6.500l-2.700 7h5.400zm14 0-2.700 7h5.400z"/>`,
    requests: svg`<path d="M4 4.500h16v12h-9l-4.5 4v-4H4zM8 9h8m-8 3.500h5"/>`,
    department: svg`<path d="M4 20.500V9l8-5.500L20 9v11.500zM9.5 20.500V14h5v6.5"/>`,
    back: svg`<path d="m14.5 5-7 7 7 7"/>`,
    on: svg`<path d="m9.5 5 7 7-7 7"/>`,
    sun: svg`<circle cx="12" cy="12" r="4"/>
        <path d="M12 2.5v2m0 15v2M2.5 12h2m15 0h2"/>
        <path d="m5.3 5.3 1.4 1.4m10.6 10.6 1.4 1.4m0-13.4-1.4 1.4M6.7 17.3l-1.4 1.4"/>`,
    moon: svg`<path d="M20 14.500A8.5 8.5 0 0 1 9.5 4a8.5 8.5 0 1 0 10.5 10.500z"/>`,
};

export const icon = (name) => html`<svg class="icon" viewBox="0 0 24 24" aria-hidden="true">${kIcons[name]}</svg>`;

export const columnHeads = (names) =>
    names.map((name) => html`<th scope="col" class=${name}>${t(`column ${name}`)}</th>`);

export const chip = (text, kind = '') => html`<span class="chip ${kind}">${text}</span>`;

export const heading = (text, extra = nothing) =>
    html`<div class="heading"><h1 id="title" tabindex="-1">${text}</h1>${extra}</div>`;

/** "+0:20" in the colour of its sign. */
export const balanceText = (seconds, withSeconds) =>
    seconds === null || seconds === undefined
        ? nothing
        : html`<span class=${seconds <= -60 ? 'minus' : seconds >= 60 ? 'plus' : ''}
              >${signed(seconds, withSeconds)}</span>`;

export const tile = (name, value, more = nothing) =>
    html`<div class="tile"><dt>${name}</dt><dd class="figure">${value}</dd>
        ${more === nothing ? more : html`<dd class="more">${more}</dd>`}</div>`;

/** What the entry holds, or why there is nothing yet. Old content stays while it is asked for again. */
export function withData(entry, draw) {
    if (entry.data) return draw(entry.data);
    if (!entry.error || entry.error === 'lost') return html`<p class="loading" role="status">${t('loading')}</p>`;
    return html`<p class="card warning" role="alert">${t(`error ${entry.error}`)}</p>`;
}

export const kCategoryClass = {
    DELO: 'work',
    MALICA: 'lunch',
    DOPUST: 'leave',
    IZRDOPUST: 'leave',
    BOLNIŠKA: 'sick',
    ODDOMA: 'home',
    TEREN: 'field',
    SLUŽBENO: 'errand',
    ZASEBNO: 'private',
    PRAZNIK: 'holiday',
};

export const categoryChip = (category, seconds) =>
    chip(html`${named('category', category)} <b>${duration(seconds)}</b>`, `c-${kCategoryClass[category] ?? 'other'}`);

/** A warning of the calculation: in the page's words where they are known, without the numbers in seconds behind it. */
export const remarkText = (text) => named('remark', text.replace(/[\s\d-]+$/, ''));

/** Links to what is before and after, with the current one beside them. */
export const pager = (before, after, current) => html`<nav class="pager" aria-label=${t('pager')}>
    <a class="button square" href=${before.href} aria-label=${before.name} rel="prev">${icon('back')}</a>
    ${current ? html`<a class="button" href=${current.href}>${current.name}</a>` : nothing}
    <a class="button square" href=${after.href} aria-label=${after.name} rel="next">${icon('on')}</a></nav>`;

const exportAddress = (file, query) => `export/${file}?${new URLSearchParams({ ...query, lang: language })}`;

export const csvLink = (what, query = {}) =>
    html`<a class="button quiet" download href=${exportAddress(`${what}.csv`, query)}>${t('csv')}</a>`;

/** What is for the file or to be signed, of a month that has begun; each has its name in the texts. */
export const paperLinks = (files, query) =>
    query.month > monthOf(store.today)
        ? nothing
        : html`<p class="papers">${t('papers')}
            ${files.map((file) => html`<a download href=${exportAddress(file, query)}>${t(`paper ${file}`)}</a> `)}</p>`;

export const isMe = (user) => !user || String(user) === String(store.me.id);

/** The field of the ask: absent for oneself. */
export const userField = (user) => (isMe(user) ? {} : { user: Number(user) });

/** Whose view it is, where it is not one's own, with what else there is of them. */
export const personLine = (user, data) =>
    isMe(user) || !data
        ? nothing
        : html`<p class="person"><span class="name">${data.user.name}</span> <span>${data.user.department}</span>
            <a href=${link('month', undefined, user)}>${t('nav month')}</a>
            <a href=${link('balance', user)}>${t('nav balance')}</a></p>`;

/** Lower case without accents, for searching. */
export const plain = (text) => text.toLowerCase().normalize('NFD').replace(/\p{M}/gu, '');
