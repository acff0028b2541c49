// One employee's month: a row for every day, weeks, sums.
import { ahead, need } from '../answers.mjs';
import {
    addMonths,
    clock,
    dateOf,
    dayNumber,
    duration,
    longDate,
    monthName,
    monthOf,
    weekOf,
    weekdayName,
} from '../format.mjs';
import { link } from '../router.mjs';
import { now, store } from '../store.mjs';
import { named, t } from '../texts/texts.mjs';
import { html, nothing } from '../vendor/lit-html/lit-html.mjs';
import {
    balanceText,
    chip,
    columnHeads,
    categoryChip,
    csvLink,
    heading,
    isMe,
    pager,
    paperLinks,
    personLine,
    remarkText,
    tile,
    userField,
    withData,
} from './parts.mjs';
import { monthPlots } from './plots.mjs';

const kPapers = ['statement.pdf', 'register.pdf', 'register.csv'];
const kColumns = ['date', 'arrival', 'departure', 'hours', 'required', 'balance', 'running', 'remarks'];

const orThis = (month) => month || monthOf(store.today);

export const title = (month) => monthName(orThis(month));

/** Today's row and the sums with what the clock has added since the answer was made. */
function grown(data) {
    const live = data.days.find((day) => day.live);
    if (!live) return data;
    const worked = Math.max(0, now() - data.asOf) + live.worked;
    const days = data.days.map((day) => (day === live ? { ...day, worked } : day));
    return { ...data, days, sums: { ...data.sums, worked: data.sums.worked + worked - live.worked } };
}

/** Whether the day's balance is final: today's is not while there may still come more. */
const isSettled = (day) => day.date < store.today || (day.date === store.today && day.state !== 'now');

const isFree = (day) => day.kind !== 'work';
const isQuiet = (day) => !day.worked && !day.arrival && !day.departure;

const isLater = (time, day) => dateOf(time) > day.date;

function timeCell(day, time, name) {
    if (time)
        return html`<td class="time ${name}">${clock(time)}${isLater(time, day) ? html`<sup>+1</sup>` : nothing}</td>`;
    const isHalf = day.state === 'half' && (day.arrival || day.departure);
    return html`<td class="time ${name}">${isHalf ? html`<span class="gap">${t(`no ${name}`)}</span>` : nothing}</td>`;
}

function remarks(day) {
    const chips = Object.entries(day.categories).filter(([name]) => name !== 'DELO' && name !== 'MALICA');
    const plain = day.remarks.filter((text) => !day.warnings.includes(text) && text !== day.holiday);
    return html`${day.holiday ? chip(day.holiday, 'c-holiday') : nothing}
        ${day.live ? chip(t('inSince', clock(day.live.since)), 'c-now') : nothing}
        ${day.state === 'missing' ? chip(t('noHours'), 'c-warn') : nothing}
        ${chips.map(([name, seconds]) => categoryChip(name, seconds))}
        ${[...new Set(day.warnings.map(remarkText))].map((text) => chip(text, 'c-warn'))}
        ${day.entered ? chip(t('byHand')) : nothing}
        ${day.requests.length ? chip(t('request')) : nothing}
        ${plain.length ? html`<small>${[...new Set(plain.map(remarkText))].join(' · ')}</small>` : nothing}`;
}

function bar(day) {
    const full = Math.max(day.required, 8 * 3600);
    const share = (seconds) => `${Math.min(100, Math.round((seconds / full) * 100))}%`;
    return html`<span class="bar" aria-hidden="true" .style=${`--done:${share(day.worked)}`}></span>`;
}

function dayRow(day, user) {
    const isToday = day.date === store.today;
    const isFuture = day.date > store.today;
    const hours = (isFree(day) && isQuiet(day)) || (isFuture && !day.worked) ? nothing : duration(day.worked);
    const kinds = [day.kind, day.state, isToday && 'today', isFree(day) && isQuiet(day) && 'quiet'].filter(Boolean);
    return html`<tr class="day ${kinds.join(' ')}">
        <th scope="row"><a href=${link('day', day.date, isMe(user) ? undefined : user)}
            aria-current=${isToday ? 'date' : nothing}><span class="wd">${weekdayName(day.date)}</span>
            ${dayNumber(day.date)}<span class="hidden">${monthName(monthOf(day.date))}</span></a></th>
        ${timeCell(day, day.arrival, 'arrival')}${timeCell(day, day.departure, 'departure')}
        <td class="hours">${hours}${hours === nothing ? nothing : bar(day)}</td>
        <td class="required">${day.required ? duration(day.required) : nothing}</td>
        <td class="balance">${isSettled(day) && hours !== nothing ? balanceText(day.balance) : nothing}</td>
        <td class="running">${isSettled(day) && hours !== nothing ? balanceText(day.running) : nothing}</td>
        <td class="remarks">${remarks(day)}</td></tr>`;
}

const sum = (days, field) => days.reduce((total, day) => total + (day[field] ?? 0), 0);

function weekRows(days, user) {
    const hasBegun = days[0].date <= store.today;
    return html`<tbody>${days.map((day) => dayRow(day, user))}
        <tr class="week"><th scope="row">${t('week', weekOf(days[0].date))}</th><td></td><td></td>
            <td class="hours">${hasBegun ? duration(sum(days, 'worked')) : nothing}</td>
            <td class="required">${duration(sum(days, 'required'))}</td>
            <td class="balance">${hasBegun ? balanceText(sum(days.filter(isSettled), 'balance')) : nothing}</td>
            <td class="running"></td><td class="remarks"></td></tr></tbody>`;
}

/** Of the month without a today that goes on. */
const settledBalance = ({ days, sums }) =>
    sums.balance -
    sum(
        days.filter((day) => day.date === store.today && !isSettled(day)),
        'balance',
    );

function weeksOf(days) {
    const weeks = [];
    for (const day of days) {
        if (!weeks.length || day.weekday === 1) weeks.push([]);
        weeks.at(-1).push(day);
    }
    return weeks;
}

const isCurrent = ({ month }) => month === monthOf(store.today);

function table(data, user) {
    const { worked, required } = data.sums;
    const total = isCurrent(data) ? 'totalSoFar' : 'total';
    return html`<table class="month"><caption class="hidden">${t('monthTable', monthName(data.month))}</caption>
        <thead><tr>${columnHeads(kColumns)}</tr></thead>
        ${weeksOf(data.days).map((week) => weekRows(week, user))}
        <tfoot><tr class="total"><th scope="row">${t(total)}</th><td></td><td></td>
            <td class="hours">${duration(worked)}</td><td class="required">${duration(required)}</td>
            <td class="balance">${balanceText(settledBalance(data))}</td>
            <td class="running"></td><td class="remarks"></td></tr></tfoot></table>`;
}

/** Where somebody is who is not in: what the day is of that has no work in it, such as leave. */
function whereabouts({ categories }) {
    const kinds = Object.keys(categories).filter((name) => name !== 'MALICA');
    return kinds.length && !kinds.includes('DELO') ? kinds.map((name) => named('category', name)).join(', ') : t('outNow');
}

function todayCard(data) {
    const day = data.days.find(({ date }) => date === store.today);
    if (!day || day.state === 'future' || (isFree(day) && isQuiet(day))) return nothing;
    const left = day.required - day.worked;
    const rest = left >= 60 ? t('toGo', duration(left)) : left <= -60 ? t('beyond', duration(-left)) : nothing;
    const state = day.live ? t('inSince', clock(day.live.since)) : whereabouts(day);
    return html`<a class="card today-card ${day.live ? 'in' : ''}" href=${link('day', day.date)}>
        <span><span class="dot" aria-hidden="true"></span><b>${t('today')}, ${longDate(day.date)}</b> ${state}</span>
        <span><b class="figure">${duration(day.worked)}</b> ${day.required ? rest : nothing}</span></a>`;
}

const carriedTile = (carried, balance) =>
    tile(t('tile carried'), balanceText(carried), html`${t('withMonth')} ${balanceText(carried + balance)}`);

function tiles(data) {
    const { sums, carried, days } = data;
    const ofRequired = isCurrent(data) ? 'ofRequiredSoFar' : 'ofRequired';
    const goesOn = days.some(({ date, state }) => date === store.today && state === 'now');
    const others = Object.entries(sums.categories).filter(([name]) => name !== 'DELO');
    return html`<dl class="tiles">
        ${tile(t('tile worked'), duration(sums.worked), t(ofRequired, duration(sums.required)))}
        ${tile(t('tile balance'), balanceText(settledBalance(data)), goesOn ? t('untilYesterday') : nothing)}
        ${carried === null ? nothing : carriedTile(carried, settledBalance(data))}
        ${
            others.length
                ? html`<div class="tile wide"><dt>${t('tile categories')}</dt>
            <dd class="chips">${others.map(([name, seconds]) => categoryChip(name, seconds))}</dd></div>`
                : nothing
        }</dl>`;
}

function content(answer, user) {
    const data = grown(answer);
    const { days, errors } = data;
    return html`${isMe(user) ? todayCard(data) : nothing}${tiles(data)}
        ${errors.length ? html`<ul class="card warning">${errors.map((text) => html`<li>${text}</li>`)}</ul>` : nothing}
        ${days.length ? [table(data, user), monthPlots(data)] : html`<p class="empty">${t('noMonth')}</p>`}`;
}

export function view(given, user) {
    const month = orThis(given);
    const entry = need('month', { ...userField(user), month });
    const to = (months) => ({
        href: link('month', addMonths(month, months), user),
        name: monthName(addMonths(month, months)),
    });
    if (entry.data) {
        for (const months of [-1, 1]) ahead('month', { ...userField(user), month: addMonths(month, months) });
    }
    const current = { href: link('month', monthOf(store.today), user), name: t('thisMonth') };
    const isNow = month === monthOf(store.today);
    return html`${heading(
        monthName(month),
        html`
            ${pager(to(-1), to(1), isNow ? null : current)}
            ${csvLink('month', { user: user ?? store.me.id, month })}`,
    )}
        ${personLine(user, entry.data)}${withData(
            entry,
            (data) => html`${content(data, user)}${paperLinks(kPapers, { user: user ?? store.me.id, month })}`,
        )}`;
}
