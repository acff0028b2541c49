// Free hours, leave, and the last twelve months.
import { need } from '../answers.mjs';
import { duration, shortMonth } from '../format.mjs';
import { link } from '../router.mjs';
import { store } from '../store.mjs';
import { count, t } from '../texts/texts.mjs';
import { html, nothing } from '../vendor/lit-html/lit-html.mjs';
import { balanceText, columnHeads, csvLink, heading, isMe, personLine, tile, userField, withData } from './parts.mjs';

export const title = (user) => t(isMe(user) ? 'title balance' : 'nav balance');

const days = (number) => (number === null ? '–' : count(number, 'days'));

function leaveTile({ total, taken, left }) {
    if (total === null && left === null) return nothing;
    const share = total ? Math.min(100, Math.max(0, Math.round((taken / total) * 100))) : 0;
    return tile(
        t('tile leaveLeft'),
        days(left),
        html`${t('leaveOf', days(taken), total ?? '–')}
        <span class="bar" aria-hidden="true" .style=${`--done:${share}%`}></span>`,
    );
}

/** A bar to the left or right of the middle. */
function swing(seconds, most) {
    const width = Math.round((Math.abs(seconds) / most) * 50);
    return html`<span class="swing ${seconds < 0 ? 'minus' : 'plus'}" aria-hidden="true"
        .style=${`--size:${width}%`}><i></i></span>`;
}

function months(list, user) {
    const most = Math.max(3600, ...list.map(({ balance }) => Math.abs(balance ?? 0)));
    return html`<table class="plain months"><caption>${t('byMonth')}</caption>
        <thead><tr>${columnHeads(['month', 'hours', 'required', 'balance'])}<td></td></tr></thead>
        <tbody>${[...list].reverse().map(
            ({ month, worked, required, balance }) => html`<tr>
            <th scope="row"><a href=${link('month', month, user)}
                >${shortMonth(month)} <span>${month.slice(0, 4)}</span></a></th>
            <td>${duration(worked)}</td><td>${duration(required)}</td><td>${balanceText(balance)}</td>
            <td>${swing(balance ?? 0, most)}</td></tr>`,
        )}</tbody></table>`;
}

const content = (data, user) => html`<dl class="tiles">
        ${data.hours
            .filter(({ left }) => left !== null)
            .map(({ left }) => tile(t('tile freeHours'), balanceText(left), t('freeHoursHelp')))}
        ${leaveTile(data.leave)}</dl>
    ${data.hours.length ? nothing : html`<p class="muted">${t('noFreeHours')}</p>`}
    <section class="card">${months(data.months, user)}</section>`;

export function view(user) {
    const entry = need('balance', userField(user));
    return html`${heading(title(user), csvLink('balance', { user: user ?? store.me.id }))}
        ${personLine(user, entry.data)}
        ${withData(entry, (data) => content(data, user))}`;
}
