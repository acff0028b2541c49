// The sign-in form, and what is shown before it is known whether one is needed.
import { signIn } from '../session.mjs';
import { change, store } from '../store.mjs';
import { t } from '../texts/texts.mjs';
import { html, nothing } from '../vendor/lit-html/lit-html.mjs';
import { switches } from './shell.mjs';

async function submit(event) {
    event.preventDefault();
    const { user, pass } = event.target.elements;
    change({ form: { isBusy: true } });
    const error = await signIn(user.value, pass.value);
    change({ form: { error } });
    if (!error) return;
    pass.value = '';
    (error === 'login' ? user : pass).focus();
}

const form = (problem) => html`<form class="card login" @submit=${submit}>
    <h1 id="title" tabindex="-1">${t('signIn')}</h1>
    ${problem ? html`<p class="warning" role="alert" id="problem">${t(problem)}</p>` : nothing}
    <label>${t('userName')}<input name="user" required autocomplete="username" autocapitalize="none" spellcheck="false"
        aria-describedby=${problem ? 'problem' : nothing}></label>
    <label>${t('password')}<input name="pass" type="password" required autocomplete="current-password"></label>
    <button class="button main" ?disabled=${store.form.isBusy}>${t('signIn')}</button>
    <p class="muted">${t('signInHelp')}</p></form>`;

const problem = () => (store.form.error ? `error ${store.form.error}` : store.isEnded ? 'sessionEnded' : '');

const opening = () => html`<div class="opening" role="status">
    <p>${t(store.link === 'lost' ? 'lost' : 'loading')}</p></div>`;

export const loginView = () => html`
    <header class="top"><span class="brand">${t('product')}</span><div class="tools">${switches()}</div></header>
    <main class="centred">${store.signedOut ? form(problem()) : opening()}</main>`;
