// The day hour by hour: the schedule's window, the pairs, the events. A picture beside the tables, which hold the same.
import { clockOfDay, duration, secondsOfDay } from '../format.mjs';
import { named, t } from '../texts/texts.mjs';
import { html, nothing } from '../vendor/lit-html/lit-html.mjs';

const kHour = 3600;
const kFewestHours = 6;
const kTextShare = 14; // percent of the width that a pair must have for its name to fit
const kSigns = { arrival: 'in', departure: 'out', 'other half missing': 'half' };

const signOf = (use) => kSigns[use] ?? 'not';
const nameOf = (category) => (category ? named('category', category) : t('noCategory'));
const told = ({ category, from, to }) => `${nameOf(category)} ${clockOfDay(from)}–${clockOfDay(to)}`;

/** Places on a line of hours, in percent of its width, with an hour to spare on either side. */
class Scale {
    constructor(seconds) {
        this.first = Math.floor(Math.min(...seconds) / kHour) - 1;
        this.last = Math.max(Math.ceil(Math.max(...seconds) / kHour) + 1, this.first + kFewestHours);
    }

    place(seconds) {
        return Math.round(((seconds / kHour - this.first) / (this.last - this.first)) * 1e4) / 100;
    }

    at = (seconds) => `left:${this.place(seconds)}%`;
    between = (from, to) => `${this.at(from)};width:${this.place(to) - this.place(from)}%`;

    hours() {
        const step = this.last - this.first > 14 ? 3 : 2;
        const hours = [];
        for (let hour = Math.ceil(this.first / step) * step; hour <= this.last; hour += step) hours.push(hour);
        return hours;
    }
}

const hourMark = (scale) => (hour) => html`<span .style=${scale.at(hour * kHour)}>${((hour % 24) + 24) % 24}</span>`;

function windowBars({ STARTB, STARTE = STARTB, ENDE, ENDB = ENDE }, scale) {
    const core = STARTE < ENDB ? html`<span class="core" .style=${scale.between(STARTE, ENDB)}></span>` : nothing;
    return html`<span class="may" .style=${scale.between(STARTB, ENDE)}></span>${core}`;
}

function pairBar(pair, scale) {
    const fits = scale.place(pair.to) - scale.place(pair.from) > kTextShare;
    return html`<span class="c-${pair.kind}" .style=${scale.between(pair.from, pair.to)} title=${told(pair)}
        >${fits ? html`<b>${nameOf(pair.category)}</b> ${duration(pair.seconds)}` : nothing}</span>`;
}

const tapMark = ({ at, use }, scale) =>
    html`<i class=${signOf(use)} .style=${scale.at(at)} title="${clockOfDay(at)} ${named('use', use)}"></i>`;

function legend(hasWindow, taps) {
    const keys = hasWindow ? ['may', 'core'] : [];
    const signs = [...new Set(taps.map(({ use }) => signOf(use)))];
    return html`<p class="legend">
        ${keys.map((key) => html`<span><span class="key ${key}"></span> ${t(`legend ${key}`)}</span>`)}
        ${signs.map((sign) => html`<span><i class=${sign}></i> ${t(`legend ${sign}`)}</span>`)}</p>`;
}

/** Of an explanation's events and schedule, and its pairs with `from` and `to` in seconds of the day. */
export function timeline({ EVENTS, SCHEDULE }, pairs, date) {
    const taps = EVENTS.map(({ TIMESTAMP, USE }) => ({ at: secondsOfDay(TIMESTAMP, date), use: USE }));
    if (!taps.length) return nothing;
    const schedule = SCHEDULE ?? {};
    const hasWindow = 'STARTB' in schedule && 'ENDE' in schedule;
    const drawn = pairs.filter(({ from, to }) => from !== null && to !== null);
    const ends = drawn.flatMap(({ from, to }) => [from, to]);
    const scale = new Scale([
        ...taps.map(({ at }) => at),
        ...ends,
        ...(hasWindow ? [schedule.STARTB, schedule.ENDE] : []),
    ]);
    return html`<div class="card timeline" role="img" aria-label="${t('timeline')}: ${drawn.map(told).join(', ')}">
        <div class="scale">${scale.hours().map(hourMark(scale))}</div>
        <div class="lane window">${hasWindow ? windowBars(schedule, scale) : nothing}</div>
        <div class="lane pairs">${drawn.map((pair) => pairBar(pair, scale))}</div>
        <div class="lane taps">${taps.map((tap) => tapMark(tap, scale))}</div>
        ${legend(hasWindow, taps)}</div>`;
}
