// A new request; what is missing on a day comes filled in.
import { fullDate } from '../format.mjs';
import { go, link } from '../router.mjs';
import { change, store } from '../store.mjs';
import { t } from '../texts/texts.mjs';
import { html, nothing } from '../vendor/lit-html/lit-html.mjs';
import { heading } from './parts.mjs';
import { act } from './requestcard.mjs';

const kKinds = ['punch', 'leave', 'sickness', 'errand', 'fieldwork', 'home'];
const kPunches = ['101', '102', '103', '104', '105'];
const kLeaves = ['102:1', '102:6'];

export const title = () => t('newRequest');

async function submit(event, kind) {
    event.preventDefault();
    const { date, time, code, from, to, why } = Object.fromEntries(new FormData(event.target));
    if (kind !== 'punch' && to < from) {
        event.target.elements.to.setCustomValidity(t('reason endBeforeStart'));
        return event.target.reportValidity();
    }
    change({ form: { ...store.form, isBusy: true } });
    const fields = kind === 'punch' ? { date, time, code } : { from, to, ...(code && { code }) };
    const answer = await act('request', { kind, ...fields, why: why.trim() }, 'askedNow');
    change({ form: { ...store.form, isBusy: false } });
    if (answer) go('requests');
}

const choice = (name, values, chosen, textOf) =>
    html`<select name=${name}>${values.map(
        (value) => html`<option value=${value}
    ?selected=${value === chosen}>${textOf(value)}</option>`,
    )}</select>`;

const punchFields = (date, code) => html`
    <label>${t('column event')}${choice('code', kPunches, code ?? '101', (value) => t(`remedy ${value}`))}</label>
    <div class="pair">
    <label>${t('column date')}<input type="date" name="date" required .value=${date} max=${store.today}></label>
    <label>${t('column time')}<input type="time" name="time" required></label></div>`;

function earlierEnd({ target }) {
    const { from, to } = target.form.elements;
    to.setCustomValidity('');
    if (target === from && to.value < from.value) to.value = from.value;
    change({ form: { ...store.form, from: from.value, to: to.value } });
}

/** With weekdays, since a browser writes dates in its own language. */
function spanInWords(date) {
    const { from = date, to = date } = store.form;
    if (!from || !to) return nothing;
    return html`<p class="muted">${fullDate(from)}${from === to ? nothing : ` – ${fullDate(to)}`}</p>`;
}

const leaveName = (code) => t(code === '102:6' ? 'kind special' : 'kind leave');

const leaveChoice = () => html`<label>${t('column kind')}${choice('code', kLeaves, kLeaves[0], leaveName)}</label>`;

const absenceFields = (kind, date) => html`
    ${kind === 'leave' ? leaveChoice() : nothing}
    <div class="pair">
    <label>${t('from')}<input type="date" name="from" required .value=${date} @input=${earlierEnd}></label>
    <label>${t('until')}<input type="date" name="to" required .value=${date} @input=${earlierEnd}></label></div>
    ${spanInWords(date)}`;

export function view(given, date, code) {
    const kind = kKinds.includes(given) ? given : 'punch';
    const day = date || store.today;
    return html`${heading(t('newRequest'))}
        <nav class="kinds" aria-label=${t('column kind')}>${kKinds.map(
            (each) => html`<a href=${link('new', each, date)}
            aria-current=${each === kind ? 'page' : nothing}>${t(`kind ${each}`)}</a>`,
        )}</nav>
        <form class="card request-form" @submit=${(event) => submit(event, kind)}>
            ${kind === 'punch' ? punchFields(day, code) : absenceFields(kind, day)}
            <label>${t('why')}<input name="why" maxlength="200" ?required=${kind === 'punch'}></label>
            <p class="muted">${t(kind === 'punch' ? 'punchHelp' : 'absenceHelp')}</p>
            <span class="actions">
            <button class="button main" ?disabled=${store.form.isBusy}>${t('sendRequest')}</button>
            <a class="button" href=${date ? link('day', date) : link('requests')}>${t('cancel')}</a></span></form>`;
}
