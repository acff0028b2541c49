// The day hour by hour: the schedule's window, the pairs, the events. A picture beside the tables, which hold the same.
import { clockOfDay, duration, secondsOfDay } from '../format.mjs';
import { named, t } from '../texts/texts.mjs';
import { html, nothing } from '../vendor/lit-html/lit-html.mjs';

const kHour = 3600;
const kSigns = { arrival: 'in', departure: 'out', 'other half missing': 'half' };

/** First and last full hour of what is to be seen, with one more on either side. */
function rangeOf(seconds) {
    const first = Math.floor(Math.min(...seconds) / kHour) - 1;
    const last = Math.ceil(Math.max(...seconds) / kHour) + 1;
    return { first, last: Math.max(last, first + 6) };
}

function scale({ first, last }, place) {
    const step = last - first > 14 ? 3 : 2;
    const marks = [];
    for (let hour = Math.ceil(first / step) * step; hour <= last; hour += step) marks.push(hour);
    return html`<div class="scale">${marks.map((hour) => html`<span .style=${`left:${place(hour * kHour)}%`}>${((hour % 24) + 24) % 24}</span>`)}</div>`;
}

const part = (from, to, place, kind, text = '', title = nothing) => (from === undefined || to === undefined || to <= from ? nothing
    : html`<span class=${kind} .style=${`left:${place(from)}%;width:${place(to) - place(from)}%`} title=${title}>${text}</span>`);

export function timeline({ EVENTS, SCHEDULE }, pairs, date) {
    const taps = EVENTS.map(({ TIMESTAMP, USE }) => ({ at: secondsOfDay(TIMESTAMP, date), use: USE }));
    const { STARTB, STARTE, ENDB, ENDE } = SCHEDULE ?? {};
    const drawn = pairs.filter(({ from, to }) => from !== null && to !== null);
    const all = [STARTB, STARTE, ENDB, ENDE, ...taps.map(({ at }) => at), ...drawn.flatMap(({ from, to }) => [from, to])].filter((each) => each !== undefined);
    if (!taps.length || !all.length) return nothing;
    const range = rangeOf(all);
    const place = (seconds) => Math.round((seconds / kHour - range.first) / (range.last - range.first) * 1e4) / 100;
    const hasWindow = STARTB !== undefined && ENDE !== undefined;
    const name = (category) => (category ? named('category', category) : t('noCategory'));
    const told = drawn.map(({ from, to, category }) => `${name(category)} ${clockOfDay(from)}–${clockOfDay(to)}`).join(', ');
    return html`<div class="card timeline" role="img" aria-label="${t('timeline')}: ${told}">
        ${scale(range, place)}
        <div class="lane window">${hasWindow ? html`${part(STARTB, ENDE, place, 'may')}${part(STARTE ?? STARTB, ENDB ?? ENDE, place, 'core')}` : nothing}</div>
        <div class="lane pairs">${drawn.map(({ from, to, category, kind, seconds }) => part(from, to, place, `c-${kind}`,
            place(to) - place(from) > 14 ? html`<b>${name(category)}</b> ${duration(seconds)}` : '', `${name(category)} ${clockOfDay(from)}–${clockOfDay(to)}`))}</div>
        <div class="lane taps">${taps.map(({ at, use }) => html`<i class=${kSigns[use] ?? 'not'} .style=${`left:${place(at)}%`} title="${clockOfDay(at)} ${named('use', use)}"></i>`)}</div>
        <p class="legend">${hasWindow ? ['may', 'core'].map((kind) => html`<span><span class="key ${kind}"></span> ${t(`legend ${kind}`)}</span>`) : nothing}
            ${[...new Set(taps.map(({ use }) => kSigns[use] ?? 'not'))].map((sign) => html`<span><i class=${sign}></i> ${t(`legend ${sign}`)}</span>`)}</p></div>`;
}
