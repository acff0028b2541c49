// Durations, times and dates as texts. Durations are seconds, times Unix seconds, dates "YYYY-MM-DD".
import { store } from './store.mjs';
import { language } from './texts/texts.mjs';

const kDay = 86400;
const formats = new Map();

function format(options) {
    const key = language + JSON.stringify(options);
    if (!formats.has(key)) formats.set(key, new Intl.DateTimeFormat(language === 'sl' ? 'sl-SI' : 'en-GB', options));
    return formats.get(key);
}

const pad = (number) => String(number).padStart(2, '0');
const parse = (date) => Date.parse(`${date}T00:00Z`);
const write = (time) => new Date(time).toISOString().slice(0, 10);
const capital = (text) => text[0].toUpperCase() + text.slice(1);

/** "8:20", "−0:40"; with seconds where asked for. Whole minutes are cut off, as everywhere in the system. */
export function duration(seconds, withSeconds = false) {
    if (seconds === null || seconds === undefined) return '–';
    const size = Math.abs(seconds);
    const minutes = `${Math.floor(size / 3600)}:${pad(Math.floor(size / 60) % 60)}`;
    const text = withSeconds ? `${minutes}:${pad(size % 60)}` : minutes;
    return seconds < 0 && /[1-9]/.test(text) ? `−${text}` : text;
}

/** "+0:20", "−0:40" or "0:00". */
export function signed(seconds, withSeconds) {
    const text = duration(seconds, withSeconds);
    return seconds > 0 && /[1-9]/.test(text) ? `+${text}` : text;
}

const partsOf = (time, options) => format({ timeZone: store.zone, ...options }).format(time * 1000);

/** "7:52" of an instant, at the site. */
export function clock(time, withSeconds = false) {
    if (time === null || time === undefined) return '';
    const options = { hour: 'numeric', minute: '2-digit', hourCycle: 'h23' };
    return partsOf(time, withSeconds ? { ...options, second: '2-digit' } : options)
        .replace(/^0(?=\d:)/, '')
        .replace(/\./g, ':');
}

/** The local date of an instant. */
export function dateOf(time) {
    const parts = new Intl.DateTimeFormat('en-CA', { timeZone: store.zone }).format(time * 1000);
    return parts;
}

/** Seconds since the midnight of the date, as the clock shows them: more than a day after it, less than 0 before it. */
export function secondsOfDay(time, date) {
    const [hours, minutes, seconds] = partsOf(time, {
        hour: '2-digit',
        minute: '2-digit',
        second: '2-digit',
        hourCycle: 'h23',
    })
        .split(/\D+/)
        .map(Number);
    return Math.round((parse(dateOf(time)) - parse(date)) / 1000) + hours * 3600 + minutes * 60 + seconds;
}

/** "7:30" of seconds since midnight; a time of another day has a mark. */
export function clockOfDay(seconds, withSeconds = false) {
    const days = Math.floor(seconds / kDay);
    const mark = days === 0 ? '' : days > 0 ? ` +${days}` : ` −${-days}`;
    return duration(seconds - days * kDay, withSeconds) + mark;
}

const dateText = (options) => (date) => format({ timeZone: 'UTC', ...options }).format(parse(date));

export const fullDate = (date) =>
    capital(dateText({ weekday: 'long', day: 'numeric', month: 'long', year: 'numeric' })(date));
export const longDate = dateText({ day: 'numeric', month: 'long', year: 'numeric' });
export const shortDate = (date) => dateText({ day: 'numeric', month: language === 'sl' ? 'numeric' : 'short' })(date);
export const dayNumber = (date) => `${Number(date.slice(8))}${language === 'sl' ? '.' : ''}`;
export const weekdayName = dateText({ weekday: 'short' });
export const monthName = (month) => capital(dateText({ month: 'long', year: 'numeric' })(`${month}-01`));
export const shortMonth = (month) => dateText({ month: 'short' })(`${month}-01`);
/** "7. 10. ob 8:14" of an instant. */
export const moment = (time) => `${shortDate(dateOf(time))} ${clock(time)}`;
/** "sre. 7. 10. – pet. 9. 10." of two dates. */
export const span = (from, to) =>
    [...new Set([from, to])].map((date) => `${weekdayName(date)} ${shortDate(date)}`).join(' – ');

export const addDays = (date, days) => write(parse(date) + days * kDay * 1000);
export const monthOf = (date) => date.slice(0, 7);

export function addMonths(month, months) {
    const [year, number] = month.split('-').map(Number);
    return write(Date.UTC(year, number - 1 + months, 1)).slice(0, 7);
}

/** The number of the ISO week. */
export function weekOf(date) {
    const thursday = parse(date) + (3 - ((new Date(parse(date)).getUTCDay() + 6) % 7)) * kDay * 1000;
    return 1 + Math.floor((thursday - Date.UTC(new Date(thursday).getUTCFullYear(), 0, 1)) / (7 * kDay * 1000));
}
