// One request: what was asked, by whom, its state, and what may be done with it.
import { ask } from '../live.mjs';
import { clock, dateOf, moment, shortDate, span } from '../format.mjs';
import { link } from '../router.mjs';
import { change, store, tell } from '../store.mjs';
import { count, knows, t } from '../texts/texts.mjs';
import { html, nothing } from '../vendor/lit-html/lit-html.mjs';

/** Asks for a change; what came of it is told in words. The lists are asked for again by the push that follows. */
export async function act(name, fields, done) {
    try {
        const answer = await ask(name, fields);
        tell(t(done));
        return answer;
    } catch ({ message, reason, date }) {
        const onDay = date && knows(`reason ${reason}On`) ? `reason ${reason}On` : `reason ${reason}`;
        tell(knows(onDay) ? t(onDay, date && shortDate(date)) : t(`error ${message}`));
        return null;
    }
}

const asDate = (value) => (typeof value === 'number' ? dateOf(value) : value);

function when({ kind, from, to, time }) {
    if (kind !== 'punch') return span(asDate(from), asDate(to));
    const date = time ? dateOf(time) : asDate(from);
    return `${span(date, date)}, ${clock(time)}`;
}

export const kindText = ({ kind, code }) =>
    t(kind === 'punch' ? `remedy ${code.slice(0, 3)}` : code === '102:6' ? 'kind special' : `kind ${kind}`);

async function refuse(event, rid) {
    event.preventDefault();
    const note = event.target.elements.note.value.trim();
    if (await act('decide', { rid, approve: false, note }, 'refusedNow')) change({ form: {} });
}

function refusal(rid) {
    return html`<form class="refusal" @submit=${(event) => refuse(event, rid)}>
        <label>${t('refuseWhy')}<input name="note" required maxlength="200" autofocus></label>
        <span class="actions"><button class="button danger">${t('refuse')}</button>
        <button class="button" type="button" @click=${() => change({ form: {} })}>${t('cancel')}</button>
        </span></form>`;
}

async function startRefusing(event, rid) {
    const card = event.target.closest('li');
    change({ form: { refusing: rid } });
    await new Promise(requestAnimationFrame);
    setTimeout(() => card.querySelector('input')?.focus());
}

function decision(request) {
    if (store.form.refusing === request.rid) return refusal(request.rid);
    const about = `${request.user.name}, ${kindText(request)}, ${when(request)}`;
    return html`<span class="actions">
        <button class="button main" aria-label="${t('approve')}: ${about}"
            @click=${() => act('decide', { rid: request.rid, approve: true }, 'approvedNow')}>${t('approve')}</button>
        <button class="button" aria-label="${t('refuse')}: ${about}"
            @click=${(event) => startRefusing(event, request.rid)}>${t('refuse')}</button></span>`;
}

/** `showsName` where the list is of several people. */
export function requestCard(request, showsName = request.user.id !== store.me.id) {
    const { rid, user, state, why, asked, decidedBy, decidedAt, note, mayDecide, days } = request;
    const date = request.kind === 'punch' && request.time ? dateOf(request.time) : asDate(request.from);
    const isMine = user.id === store.me.id;
    return html`<li class="card request ${state}">
        <p class="what">${showsName ? html`<b>${user.name}</b> ` : nothing}<span>${kindText(request)}</span>
            <a href=${link('day', date, isMine ? undefined : user.id)}>${when(request)}</a>
            ${days ? html`<span>${count(days, 'workdays')}</span>` : nothing}
            <span class="chip s-${state}">${t(`state ${state}`)}</span></p>
        ${why ? html`<p class="reason">${why}</p>` : nothing}
        <p class="history">${t('askedAt', moment(asked))}
            ${decidedBy ? `· ${t(`decided ${state}`, decidedBy, moment(decidedAt))}` : nothing}
            ${note ? html`<span class="reason">${note}</span>` : nothing}</p>
        ${state === 'open' && mayDecide ? decision(request) : nothing}
        ${
            state === 'open' && isMine
                ? html`<span class="actions"><button class="button"
            aria-label="${t('withdraw')}: ${kindText(request)}, ${when(request)}"
            @click=${() => act('withdraw', { rid }, 'withdrawnNow')}>${t('withdraw')}</button></span>`
                : nothing
        }</li>`;
}
