// The pictures of the README: the page in light and in dark colours, of a demo company. Its argument is the folder to
// write them to.
import { join } from 'node:path';
import { open, openBrowser, signIn, visit } from './browser.mjs';
import { Site, daysAgo, isoDate } from './site.mjs';

const folder = process.argv[2];
const site = await Site.open({ employees: 50, emptyDays: 1 });
const browser = await openBrowser();

/** The last month that is over. */
const lastMonth = isoDate(daysAgo(new Date().getDate())).slice(0, 7);

async function picture(colorScheme, locale, hash) {
    const page = await visit(browser, site.url, {
        colorScheme,
        locale,
        viewport: { width: 1120, height: 760 },
        deviceScaleFactor: 2,
        reducedMotion: 'reduce',
    });
    await signIn(page, 'ana');
    await open(page, await hash(page));
    await page.mouse.move(0, 0);
    await page.screenshot({ path: join(folder, `page-${colorScheme}.png`) });
    await page.context().close();
}

/** A day that has something to tell: one with a private errand, or else any with hours. */
async function toldDay(page) {
    await open(page, `#/month/${lastMonth}`);
    const days = page.locator('tr.day.work.complete');
    const told = days.filter({ has: page.locator('.c-private, .c-errand') });
    return ((await told.count()) ? told : days).first().locator('th a').getAttribute('href');
}

try {
    await picture('light', 'en-GB', () => `#/month/${lastMonth}`);
    await picture('dark', 'en-GB', toldDay);
} finally {
    await browser.close();
    await site.close();
}
