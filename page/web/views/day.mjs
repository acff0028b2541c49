// One day, explained: what happened, what counted, what each rule made of it, what is missing.
import { ahead, need } from '../answers.mjs';
import { addDays, clock, clockOfDay, duration, fullDate, monthName, monthOf, secondsOfDay } from '../format.mjs';
import { link } from '../router.mjs';
import { store } from '../store.mjs';
import { learnToExplain, named, t } from '../texts/texts.mjs';
import { html, nothing } from '../vendor/lit-html/lit-html.mjs';
import {
    balanceText,
    chip,
    columnHeads,
    categoryChip,
    heading,
    icon,
    isMe,
    kCategoryClass,
    pager,
    personLine,
    remarkText,
    tile,
    userField,
    withData,
} from './parts.mjs';
import { requestCard } from './requestcard.mjs';
import { account, idleRules, needsSeconds } from './steps.mjs';
import { timeline } from './timeline.mjs';

await learnToExplain();

export const title = (date) => fullDate(date || store.today);

function scheduleText(schedule) {
    if (!schedule) return t('noSchedule');
    const between = (from, to, key) =>
        from in schedule && to in schedule ? t(key, clockOfDay(schedule[from]), clockOfDay(schedule[to])) : '';
    const parts = [
        between('STARTB', 'STARTE', 'arriveBetween'),
        between('ENDB', 'ENDE', 'leaveBetween'),
        'MINHOURS' in schedule ? t('minimum', duration(schedule.MINHOURS)) : '',
    ].filter(Boolean);
    return `${'SHIFT' in schedule ? t('shift', schedule.SHIFT) : t('schedule')}: ${parts.join(', ')}`;
}

/** Codes of the punches that would fill the gap, the likelier first. */
const kRemedies = {
    arrival: ['punch/101'],
    departure: ['punch/102'],
    lunchEnd: ['punch/103'],
    day: ['punch/101', 'leave', 'sickness', 'home', 'fieldwork'],
};

/** A link to the form with all that is known filled in; the first one is the likeliest. */
function remedyLink(remedy, index, date) {
    const [kind, code] = remedy.split('/');
    return html`<a class="button ${index ? '' : 'main'}" href=${link('new', kind, date, code)}
        >${t(`remedy ${code ?? kind}`)}</a>`;
}

function gap({ what, event }, { date, explanation }, user) {
    const tap = explanation.EVENTS.find(({ N }) => N === event);
    const remedies = isMe(user) && date <= store.today ? (kRemedies[what] ?? []) : [];
    const links = remedies.map((remedy, index) => remedyLink(remedy, index, date));
    return html`<li class="card warning"><p><b>${t(`gap ${what}`, tap ? clock(tap.TIMESTAMP) : '')}</b>
        ${remedies.length ? t(`gapHelp ${what}`) : nothing}</p>
        ${remedies.length ? html`<p class="actions">${links}</p>` : nothing}</li>`;
}

function sourceText(source) {
    const [, terminal] = /^terminal ?(.*)$/.exec(source) ?? [];
    const [, person] = /^entered by ?(.*)$/.exec(source) ?? [];
    return terminal !== undefined ? t('terminal', terminal) : person !== undefined ? t('enteredBy', person) : source;
}

const eventName = (code) => named('event', code.replace(/^\d+(:\d+)?:?/, '') || code);

const kCounting = ['arrival', 'departure', 'other half missing'];

/** What became of the event, where its name does not say it. */
function useText({ USE, STORED }, withSeconds) {
    const isPlain = USE === 'arrival' || USE === 'departure';
    const texts = [isPlain ? '' : named('use', USE), STORED ? t('stored', clock(STORED, withSeconds)) : ''].filter(
        Boolean,
    );
    return texts.length
        ? html`<small class=${USE === 'other half missing' ? 'gap' : ''}>${texts.join('; ')}</small>`
        : nothing;
}

function events({ EVENTS }) {
    if (!EVENTS.length) return html`<p class="muted">${t('noEvents')}</p>`;
    const withSeconds = needsSeconds(EVENTS.flatMap(({ TIMESTAMP, STORED }) => [TIMESTAMP, STORED ?? 0]));
    return html`<table class="plain events"><thead><tr>${columnHeads(['time', 'event', 'source'])}</tr></thead>
        <tbody>${EVENTS.map(
            (event) => html`<tr class=${kCounting.includes(event.USE) ? '' : 'unused'}>
            <th scope="row">${clock(event.TIMESTAMP, withSeconds)}</th>
            <td>${eventName(event.AC)}${useText(event, withSeconds)}</td>
            <td>${sourceText(event.SOURCE)}</td></tr>`,
        )}</tbody></table>`;
}

function pairs(explanation, date) {
    const instants = new Map(explanation.EVENTS.map(({ N, TIMESTAMP }) => [N, TIMESTAMP]));
    return explanation.PAIRS.map(({ FROM, TO, CATEGORY, SECONDS }) => {
        // The length tells where an end lies that no event made.
        const from = instants.get(FROM) ?? (instants.has(TO) ? instants.get(TO) - SECONDS : null);
        const to = instants.get(TO) ?? (from === null ? null : from + SECONDS);
        const inDay = (time) => (time === null ? null : secondsOfDay(time, date));
        return {
            from: inDay(from),
            to: inDay(to),
            seconds: SECONDS,
            category: CATEGORY,
            kind: kCategoryClass[CATEGORY] ?? 'other',
            isMade: FROM === null || TO === null,
        };
    });
}

const sumOf = (list, category) =>
    list.filter((pair) => pair.category === category).reduce((total, { seconds }) => total + seconds, 0);

function result({ RESULT, SCHEDULE }, list) {
    const categories = [...new Set(list.map(({ category }) => category))].filter((name) => name && name !== 'DELO');
    const required = SCHEDULE?.MINHOURS;
    return html`<dl class="tiles">
        ${tile(t('tile worked'), duration(RESULT.SKUPAJ), required ? t('ofRequired', duration(required)) : nothing)}
        ${RESULT.SALDO === null ? nothing : tile(t('tile balance'), balanceText(RESULT.SALDO))}
        ${
            categories.length
                ? html`<div class="tile wide"><dt>${t('tile categories')}</dt>
            <dd class="chips">${categories.map((name) => categoryChip(name, sumOf(list, name)))}</dd></div>`
                : nothing
        }</dl>`;
}

function warnings({ STEPS }) {
    const texts = STEPS.filter(({ FIELD, TEXT }) => TEXT && !FIELD).map(({ TEXT }) => remarkText(TEXT));
    return texts.length ? html`<p class="chips">${texts.map((text) => chip(text, 'c-warn'))}</p>` : nothing;
}

const gaps = (data, user) =>
    data.missing.length
        ? html`<ul class="gaps" aria-label=${t('missing')}>${data.missing.map((each) => gap(each, data, user))}</ul>`
        : nothing;

const requests = (data) =>
    data.requests.length
        ? html`<h2>${t('nav requests')}</h2><ul class="requests">${data.requests.map((each) => requestCard(each))}</ul>`
        : nothing;

const askLink = (date) =>
    html`<p class="below"><a class="button" href=${link('new', 'punch', date)}>${t('newRequest')}</a></p>`;

function content(data, user) {
    const { explanation, date } = data;
    if (!explanation) return html`<p class="card">${t('noEvents')}</p>`;
    const list = pairs(explanation, date);
    return html`<p class="schedule">${data.holiday ? chip(data.holiday, 'c-holiday') : nothing}
            ${scheduleText(explanation.SCHEDULE)}</p>${warnings(explanation)}
        ${gaps(data, user)}
        ${timeline(explanation, list, date)}
        ${result(explanation, list)}
        <div class="columns">
        <section><h2>${t('account')}</h2>${account(explanation, list)}${idleRules(explanation)}</section>
        <section><h2>${t('events')}</h2>${events(explanation)}
        ${requests(data)}
        ${isMe(user) ? askLink(date) : nothing}</section></div>`;
}

export function view(given, user) {
    const date = given || store.today;
    const entry = need('day', { ...userField(user), date });
    const to = (days) => ({ href: link('day', addDays(date, days), user), name: fullDate(addDays(date, days)) });
    if (entry.data) {
        for (const days of [-1, 1]) ahead('day', { ...userField(user), date: addDays(date, days) });
    }
    const month = monthOf(date);
    const today = { href: link('day', store.today, user), name: t('today') };
    return html`<div class="crumb">
            <a href=${link('month', month, user)}>${icon('back')}${monthName(month)}</a>${pager(to(-1), to(1), date === store.today ? null : today)}</div>
        ${heading(fullDate(date))}
        ${personLine(user, entry.data)}${withData(entry, (data) => content(data, user))}`;
}
