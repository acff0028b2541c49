// What the rules made of the day, in words: the steps of the explanation, those of one rule together.
import { clockOfDay, duration, signed } from '../format.mjs';
import { knows, named, t } from '../texts/texts.mjs';
import { html, nothing } from '../vendor/lit-html/lit-html.mjs';
import { remarkText } from './parts.mjs';

/** Units of settings that are bare numbers. */
const kUnits = {
    'SALDO/WTROUNDTRH': 'min',
    'OVERTIME/TRHIN': 'min',
    'OVERTIME/TRHOUT': 'min',
    'OVERTIME/COMPDELTRH': 'min',
    'SALDO/MAXHOURSLIM': 'h',
    'HOURS/MAXHOURS': 'h',
    'HOURS/ADDHOURSNUM': 'h',
};

/** Whether one of the values is no whole minute; then all are shown with seconds, so that they add up. */
export const needsSeconds = (values) => values.some((value) => value % 60 !== 0);

const secondsOfText = (text) => {
    const [hours, minutes] = String(text).split(':').map(Number);
    return hours * 3600 + minutes * 60;
};

function settingText({ SETTING, VALUE }) {
    if (!SETTING || VALUE === null) return SETTING ?? '';
    const value = typeof VALUE === 'object' ? JSON.stringify(VALUE) : VALUE;
    return `${SETTING} = ${value}${kUnits[SETTING] ? `\u00a0${kUnits[SETTING]}` : ''}`;
}

/** The steps of one rule follow one another. */
function groups(steps) {
    const found = [];
    for (const step of steps) {
        if (found.at(-1)?.[0].RULE === step.RULE) found.at(-1).push(step);
        else found.push([step]);
    }
    return found;
}

function moved(step, withSeconds) {
    const show = (value) => clockOfDay(value, withSeconds);
    if (step.FIELD === 'IN') return t('arrivalMoved', show(step.BEFORE), show(step.AFTER));
    if (step.FIELD === 'OUT') return t('departureMoved', show(step.BEFORE), show(step.AFTER));
    return t(
        'otherMoved',
        duration(step.BEFORE, withSeconds),
        duration(step.AFTER, withSeconds),
        named('category', step.FIELD),
    );
}

function lunchText({ BEFORE, AFTER, VALUE }, withSeconds) {
    const taken = AFTER - BEFORE;
    const paid = Math.min(taken, secondsOfText(VALUE));
    return t(paid < taken ? 'lunchPaidPartly' : 'lunchPaid', duration(taken, withSeconds), duration(paid));
}

/** What the rule did, as a sentence; more exactly where it has more than one way, which its setting tells. */
function sentence(group, withSeconds) {
    const [{ RULE, SETTING }] = group;
    if (RULE === 'paidLunch' && group[0].FIELD === 'DC') return lunchText(group[0], withSeconds);
    const exact = `done ${RULE} ${SETTING}`;
    const does = knows(exact) ? t(exact) : named('done', RULE);
    const moves = group.filter(({ FIELD }) => FIELD && FIELD !== 'DC').map((step) => moved(step, withSeconds));
    return moves.length ? `${moves.join(', ')}: ${does}` : does;
}

const signClass = (change) => (change < 0 ? 'minus' : change > 0 ? 'plus' : '');

/** A line of the account: what it changes, why, and what the sum is then. */
const line = ({ change = nothing, sign = '', why, sum = nothing, kind = '' }) => html`<li class=${kind}>
    <span class="change ${sign}">${change}</span><span class="why">${why}</span><span class="sum">${sum}</span></li>`;

function ruleLine(group, withSeconds) {
    const changes = group.filter(({ FIELD }) => FIELD === 'DC');
    const settings = [...new Set(group.map(settingText).filter(Boolean))];
    const isWarning = group.every(({ FIELD }) => !FIELD);
    const { TEXT } = group[0];
    const why = html`${sentence(group, withSeconds)} ${settings.map((setting) => html`<code>${setting}</code>`)}
        ${isWarning && TEXT ? html`<small>${t('wroteRemark', remarkText(TEXT))}</small>` : nothing}`;
    if (!changes.length) return line({ change: isWarning ? '!' : nothing, why, kind: isWarning ? 'warns' : '' });
    const change = changes.at(-1).AFTER - changes[0].BEFORE;
    const sum = duration(changes.at(-1).AFTER, withSeconds);
    return line({ change: signed(change, withSeconds), sign: signClass(change), why, sum });
}

/** Kinds of pairs that count beside work. */
const kCounting = ['DOPUST', 'BOLNIŠKA', 'TEREN', 'IZRDOPUST', 'ODDOMA'];

function absenceLine(seconds, sum, pairs, withSeconds) {
    const kinds = kCounting.filter((name) => pairs.some(({ category }) => category === name));
    const names = (kinds.length ? kinds : ['PRAZNIK']).map((name) => named('category', name)).join(', ');
    return line({ change: signed(seconds, withSeconds), sign: signClass(seconds), why: t('counting', names), sum });
}

/** From the pairs' work to what counts, rule by rule. */
export function account({ STEPS, RESULT }, pairs) {
    const { DELO: work = 0, SKUPAJ: total = 0 } = RESULT;
    const changes = STEPS.filter(({ FIELD }) => FIELD === 'DC');
    const withSeconds = needsSeconds([work, ...STEPS.flatMap(({ BEFORE, AFTER }) => [BEFORE ?? 0, AFTER ?? 0])]);
    const start = changes.length ? changes[0].BEFORE : work;
    const show = (seconds) => duration(seconds, withSeconds);
    return html`<ol class="account">
        ${start || STEPS.length ? line({ why: t(changes.length ? 'start' : 'unchanged'), sum: show(start) }) : nothing}
        ${groups(STEPS).map((group) => ruleLine(group, withSeconds))}
        ${total !== work ? absenceLine(total - work, show(total), pairs, withSeconds) : nothing}
        ${line({ why: t('end'), sum: show(total), kind: 'end' })}</ol>`;
}

/** The rules that did nothing, by reason; those that are switched off come last. */
export function idleRules({ IDLE, STEPS }) {
    const reasons = [...new Set(IDLE.map(({ WHY }) => WHY))].sort((a, b) => (a === 'off') - (b === 'off'));
    if (!reasons.length) return nothing;
    const isAll = reasons.length === 1 && !STEPS.length;
    const rules = (why) =>
        IDLE.filter(({ WHY }) => WHY === why)
            .map(({ RULE }) => named('rule', RULE))
            .join(', ');
    return html`<details class="idle"><summary>${t('idle')}</summary><dl>${reasons.map(
        (why) => html`<dt>${named('why', why)}</dt>
        <dd>${isAll ? t('allRules') : rules(why)}</dd>`,
    )}</dl></details>`;
}
