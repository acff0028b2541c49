// A department's month at a glance: who needs looking at comes first.
import { ahead, need } from '../answers.mjs';
import { addMonths, duration, monthName, monthOf, shortDate } from '../format.mjs';
import { go, link } from '../router.mjs';
import { change, store } from '../store.mjs';
import { count, t } from '../texts/texts.mjs';
import { html, nothing } from '../vendor/lit-html/lit-html.mjs';
import { balanceText, chip, columnHeads, csvLink, heading, pager, paperLinks, remarkText, withData } from './parts.mjs';
import { byName, matches, searchField } from './presence.mjs';

const orThis = (month) => month || monthOf(store.today);

/** Those that the user oversees, where they are known already. */
let departmentNames = [];

export const title = (month, department) => {
    const name = department || (departmentNames.length === 1 ? departmentNames[0] : t('allDepartments'));
    return `${name}\u00a0· ${monthName(orThis(month))}`;
};

const kNouns = { half: 'half', missing: 'missingDays', fault: 'faults', warning: 'warnings' };
const kMild = 'warning'; // the day is complete, its hours are known

const countOf = ({ exceptions }, kind) => exceptions.filter(({ what }) => what === kind).length;
const weight = (person) => person.exceptions.length - countOf(person, kMild);

/** What makes hours wrong before warnings, both before who has none. */
const byUrgency = (a, b) => weight(b) - weight(a) || b.exceptions.length - a.exceptions.length || byName(a, b);

const kTold = ['fault', 'warning']; // these come with a text

const exceptionLine =
    (person) =>
    ({ date, what, text }) => html`<li>
    ${date ? html`<a href=${link('day', date, person.id)}>${shortDate(date)}</a>` : nothing}
    ${chip(kTold.includes(what) ? remarkText(text) : t(`what ${what}`), what === kMild ? '' : 'c-warn')}</li>`;

/** One person's exceptions are open at a time. */
function toggle(event, id) {
    event.preventDefault();
    change({ form: { opened: store.form.opened === id ? null : id } });
}

function exceptions(person) {
    if (!person.exceptions.length) return nothing;
    const chips = Object.entries(kNouns).map(([kind, noun]) => {
        const number = countOf(person, kind);
        return number ? chip(count(number, noun), kind === kMild ? '' : 'c-warn') : nothing;
    });
    return html`<details ?open=${store.form.opened === person.id}>
        <summary @click=${(event) => toggle(event, person.id)}>${chips}</summary>
        <ul class="exceptions">${person.exceptions.map(exceptionLine(person))}</ul></details>`;
}

const openRequests = ({ openRequests: number }) =>
    number
        ? html`<a class="chip s-open" href=${link('requests', 'open')}>${count(number, 'openRequests')}</a>`
        : nothing;

const row = (person, month) => html`<tr class=${weight(person) ? 'urgent' : ''}>
    <th scope="row"><a href=${link('month', month, person.id)}>${person.name}</a>
        <small>${person.department}</small></th>
    <td class="hours">${duration(person.worked)}</td><td class="required">${duration(person.required)}</td>
    <td class="balance">${balanceText(person.balance)}</td>
    <td class="remarks">${exceptions(person)}${openRequests(person)}</td></tr>`;

/** So many are printed at once. */
const kMostPrinted = 1000;
const kPapers = ['statement.pdf', 'register.pdf', 'register.csv', 'exceptions.pdf'];

const papersFor = (people) => kPapers.filter((file) => people <= kMostPrinted || !file.endsWith('.pdf'));

function chooser(departments, department, month) {
    if (departments.length < 2) return nothing;
    const choose = ({ target }) => go('department', month, target.value || undefined);
    return html`<label class="search"><span class="hidden">${t('nav department')}</span><select @change=${choose}>
        <option value="">${t('allDepartments')}</option>
        ${departments.map((name) => html`<option value=${name} ?selected=${name === department}>${name}</option>`)}
        </select></label>`;
}

function content({ departments, people }, department, month) {
    const shown = people.filter(matches).sort(byUrgency);
    const urgent = people.filter(weight).length;
    return html`<p class="lead">${urgent ? t('needLook', urgent, people.length) : t('allWell', people.length)}</p>
        <div class="bar-of-tools">${chooser(departments, department, month)}${searchField(t('findPerson'))}</div>
        <table class="people-table"><caption class="hidden">${title(month, department)}</caption>
        <thead><tr>${columnHeads(['employee', 'hours', 'required', 'balance', 'exceptions'])}</tr></thead>
        <tbody>${shown.map((person) => row(person, month))}</tbody></table>
        ${shown.length ? nothing : html`<p class="muted" role="status">${t('nobody')}</p>`}`;
}

export function view(given, department) {
    const month = orThis(given);
    const fields = (each) => ({ ...(department && { department }), month: each });
    const entry = need('department', fields(month));
    departmentNames = entry.data?.departments ?? departmentNames;
    if (entry.data) ahead('department', fields(addMonths(month, -1)));
    const to = (months) => ({
        href: link('department', addMonths(month, months), department),
        name: monthName(addMonths(month, months)),
    });
    const current = { href: link('department', undefined, department), name: t('thisMonth') };
    return html`${heading(
        title(month, department),
        html`${pager(to(-1), to(1), month === orThis() ? null : current)}
            ${csvLink('department', fields(month))}`,
    )}
        ${withData(
            entry,
            (data) => html`${content(data, department, month)}
                ${paperLinks(papersFor(data.people.length), { department: department ?? '', month })}`,
        )}`;
}
