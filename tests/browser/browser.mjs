// The system's browser, and what people do in it.
import { readFileSync } from 'node:fs';
import { createRequire } from 'node:module';
import { chromium } from 'playwright-core';

const axeText = readFileSync(createRequire(import.meta.url).resolve('axe-core/axe.min.js'), 'utf8');
const kAxeTags = ['wcag2a', 'wcag2aa', 'wcag21a', 'wcag21aa', 'wcag22aa', 'best-practice'];

export const openBrowser = () =>
    chromium.launch({
        executablePath: process.env.ZUK_CHROMIUM ?? '/usr/bin/chromium',
        args: ['--no-sandbox', '--disable-dev-shm-usage'],
    });

/** A visitor with a session of their own. Whatever the page complains of in the console is kept in `complaints`. */
export async function visit(browser, url, options = {}) {
    const context = await browser.newContext({
        locale: 'sl-SI',
        timezoneId: 'Europe/Ljubljana',
        viewport: { width: 1280, height: 900 },
        ...options,
    });
    const page = await context.newPage();
    page.complaints = [];
    page.on('console', (message) => message.type() === 'error' && page.complaints.push(message.text()));
    page.on('pageerror', (error) => page.complaints.push(String(error)));
    await page.goto(url);
    await page.locator('form.login').waitFor();
    return page;
}

export async function signIn(page, user, password = user) {
    await page.fill('[name=user]', user);
    await page.fill('[name=pass]', password);
    await page.click('form.login button');
    await page.waitForFunction(() => document.querySelector('.views') && !document.querySelector('main .loading'));
}

/** Opens a view and waits until its data are there. */
export async function open(page, hash) {
    await page.evaluate(async (to) => {
        if (location.hash !== to) {
            const isChanged = new Promise((done) => addEventListener('hashchange', done, { once: true }));
            location.hash = to;
            await isChanged;
        }
        // Until then the view before it is there.
        for (let frame = 0; frame < 2; ++frame) await new Promise(requestAnimationFrame);
    }, hash);
    await page.waitForFunction(
        (to) => location.hash === to && document.querySelector('main h1') && !document.querySelector('main .loading'),
        hash,
    );
    await page.evaluate(() =>
        Promise.all(
            document
                .getAnimations()
                .filter((each) => each.effect.getComputedTiming().iterations !== Infinity)
                .map((each) => each.finished.catch(() => 0)),
        ),
    );
}

/** What axe finds, as lines; it is put in from outside, past the page's own rules. */
export async function axeFindings(page) {
    const session = await page.context().newCDPSession(page);
    await session.send('Runtime.evaluate', { expression: axeText });
    await session.detach();
    const { violations } = await page.evaluate((tags) => globalThis.axe.run(document, { runOnly: tags }), kAxeTags);
    return violations.map(({ id, nodes }) => `${id}: ${nodes.map(({ target }) => target.join(' ')).join(', ')}`);
}

export const tooWide = (page) => page.evaluate(() => document.documentElement.scrollWidth - innerWidth);

export const text = (page, selector) => page.locator(selector).first().innerText();
