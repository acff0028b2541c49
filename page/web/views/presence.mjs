// Who is here, by department, as it changes.
import { need } from '../answers.mjs';
import { clock } from '../format.mjs';
import { change, store } from '../store.mjs';
import { named, t } from '../texts/texts.mjs';
import { html, nothing } from '../vendor/lit-html/lit-html.mjs';
import { csvLink, heading, plain, withData } from './parts.mjs';

export const title = () => t('nav presence');

const kOrder = { in: 0, away: 1, out: 2 };

const kFreshMs = 3000; // so long a change is marked

const stateText = ({ state, text }) => (state === 'away' && text ? named('event', text) : t(`presence ${state}`));
const sinceText = ({ state, since }) => (since ? t(state === 'out' ? 'leftAt' : 'since', clock(since)) : '');

const row = (person) => html`<li class="${person.state} ${Date.now() - person.changed < kFreshMs ? 'fresh' : ''}">
    <span class="dot" aria-hidden="true"></span><span class="name">${person.name}</span>
    <span class="state">${stateText(person)}${sinceText(person)}</span></li>`;

export const byName = (a, b) => a.name.localeCompare(b.name, document.documentElement.lang);

const byState = (a, b) => kOrder[a.state] - kOrder[b.state] || byName(a, b);

/** Groups in the order of their names, each with its people. */
export function byDepartment(people) {
    const names = [...new Set(people.map(({ department }) => department))].sort((a, b) => a.localeCompare(b));
    return names.map((name) => [name, people.filter(({ department }) => department === name)]);
}

export const searchField = (label) => html`<label class="search"><span class="hidden">${label}</span>
    <input type="search" placeholder=${label} .value=${store.find}
        @input=${({ target }) => change({ find: target.value })}></label>`;

export const matches = ({ name, department }) => plain(`${name} ${department}`).includes(plain(store.find.trim()));

const stateFilter = () =>
    html`<div class="filter" role="group" aria-label=${t('column state')}>${['', 'in', 'away', 'out'].map(
        (state) => html`<button
    class="button quiet" aria-pressed=${(store.form.state ?? '') === state}
    @click=${() => change({ form: { state } })}>${t(`presence ${state || 'all'}`)}</button>`,
    )}</div>`;

function content({ people }) {
    const wanted = store.form.state;
    const found = people.filter((person) => matches(person) && (!wanted || person.state === wanted));
    const present = people.filter(({ state }) => state === 'in').length;
    return html`<p class="lead">${t('presentNow', present, people.length)}</p>
        <div class="bar-of-tools">${searchField(t('findPerson'))}${stateFilter()}</div>
        ${found.length ? nothing : html`<p class="muted" role="status">${t('nobody')}</p>`}
        <div class="groups">${byDepartment(found).map(
            ([name, members]) => html`<section class="card"><h2>${name}
            <small>${members.filter(({ state }) => state === 'in').length} / ${members.length}</small></h2>
            <ul class="people">${[...members].sort(byState).map(row)}</ul></section>`,
        )}</div>`;
}

export const view = () =>
    html`${heading(t('nav presence'), csvLink('presence'))}${withData(need('presence'), content)}`;
