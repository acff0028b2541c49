// What the page says, in the chosen language. The catalogues are beside this file: key to text, %1 stands for the first
// argument, and the forms of a counted noun are separated by "|" in the order of kForms. What only the explanation of a
// day says is in catalogues of its own, which come with it.

export const kLanguages = ['sl', 'en'];
const kForms = { sl: ['one', 'two', 'few', 'other'], en: ['one', 'other'] };

let words = {};
export let language = 'sl';

let explains = false; // whether the catalogue of the explanation is wanted too

export async function speak(wanted) {
    const names = explains ? [wanted, `day-${wanted}`] : [wanted];
    const catalogues = await Promise.all(names.map((name) => import(`./${name}.mjs`)));
    words = Object.assign({}, ...catalogues.map((catalogue) => catalogue.default));
    language = wanted;
    document.documentElement.lang = wanted;
}

export function learnToExplain() {
    explains = true;
    return speak(language);
}

/** The language chosen before, else the first of the browser's that there is. */
export function firstLanguage() {
    const chosen = localStorage.getItem('zuk-language');
    const known = navigator.languages.map((tag) => tag.slice(0, 2)).find((tag) => kLanguages.includes(tag));
    return kLanguages.includes(chosen) ? chosen : (known ?? 'en');
}

export const knows = (key) => key in words;

export const t = (key, ...args) => (words[key] ?? key).replace(/%(\d)/g, (_, n) => args[n - 1] ?? '');

/** The name that the catalogue has for what the server calls so; the server's own where it has none. */
export const named = (group, name) => (knows(`${group} ${name}`) ? t(`${group} ${name}`) : name);

/** "3 dnevi": the number with the form that it needs. */
export function count(number, key) {
    const forms = t(key).split('|');
    const form = kForms[language].indexOf(new Intl.PluralRules(language).select(number));
    return `${number}\u00a0${forms[Math.min(form, forms.length - 1)]}`;
}
