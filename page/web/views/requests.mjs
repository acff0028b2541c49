// One's own requests; for who decides also those that wait, and what was decided.
import { need } from '../answers.mjs';
import { link } from '../router.mjs';
import { hasRole } from '../store.mjs';
import { t } from '../texts/texts.mjs';
import { html, nothing } from '../vendor/lit-html/lit-html.mjs';
import { csvLink, heading, withData } from './parts.mjs';
import { requestCard } from './requestcard.mjs';

const kScopes = ['mine', 'open', 'decided'];
const scopeOf = (given) => (hasRole() && kScopes.includes(given) ? given : 'mine');

export const title = (scope) => (scopeOf(scope) === 'mine' ? t('nav requests') : t(`scope ${scope}`));

const tabs = (current) =>
    html`<nav class="tabs" aria-label=${t('nav requests')}>${kScopes.map(
        (scope) => html`<a href=${link('requests', scope)}
    aria-current=${scope === current ? 'page' : nothing}>${t(`scope ${scope}`)}</a>`,
    )}</nav>`;

function content({ requests }, scope) {
    if (!requests.length) return html`<p class="empty">${t(`empty ${scope}`)}</p>`;
    return html`<ul class="requests">${requests.map((request) => requestCard(request, scope !== 'mine'))}</ul>`;
}

export function view(given) {
    const scope = scopeOf(given);
    const ask = html`<a class="button main" href=${link('new', 'punch')}>${t('newRequest')}</a>`;
    return html`${heading(t('nav requests'), [ask, csvLink('requests', { scope })])}
        ${hasRole() ? tabs(scope) : nothing}
        ${withData(need('requests', { scope }), (data) => content(data, scope))}`;
}
