// How long the first month takes on a slow phone: a processor four times slower, nothing in the cache. What the clock
// shows depends on what else the machine does, and is reported alone, beside the time that the page's main thread
// computes. What is demanded is the size of what is fetched.
import assert from 'node:assert/strict';
import { test } from 'node:test';
import { openBrowser, signIn, visit } from './browser.mjs';
import { Site } from './site.mjs';

const kSlowdown = 4;
const kRuns = 5;
const kMostScript = 40000; // bytes as they come, of what the month needs before its plots are looked at

/** Milliseconds from the navigation to the month, by the clock. */
async function loadMonth(page) {
    await page.reload({ waitUntil: 'commit' });
    const isThere = () => document.querySelectorAll('tr.day').length >= 28;
    await page.waitForFunction(isThere, null, { polling: 'raf' });
    return page.evaluate(() => Math.round(performance.now()));
}

/** What the main thread has computed since the navigation, which starts the count anew. */
async function computedMs(session) {
    const { metrics } = await session.send('Performance.getMetrics');
    return Math.round(metrics.find(({ name }) => name === 'TaskDuration').value * 1000);
}

const bytesOf = (page, ending) =>
    page.evaluate((wanted) => {
        const files = performance.getEntriesByType('resource').filter(({ name }) => name.endsWith(wanted));
        return files.reduce((sum, { encodedBodySize }) => sum + encodedBodySize, 0);
    }, ending);

test('the first month needs little', async () => {
    const site = await Site.open({ emptyDays: 1 });
    const browser = await openBrowser();
    try {
        const page = await visit(browser, site.url);
        await signIn(page, 'ana');
        const session = await page.context().newCDPSession(page);
        await session.send('Network.enable');
        await session.send('Network.setCacheDisabled', { cacheDisabled: true });
        await session.send('Performance.enable', { timeDomain: 'threadTicks' });
        const computed = [];
        for (let run = 0; run < kRuns; ++run) {
            await loadMonth(page);
            computed.push(await computedMs(session));
        }
        await session.send('Emulation.setCPUThrottlingRate', { rate: kSlowdown });
        const shown = [];
        for (let run = 0; run < kRuns; ++run) shown.push(await loadMonth(page));
        const [script, style] = [await bytesOf(page, 'mjs'), await bytesOf(page, 'css')];

        console.log(`first month: computes ${computed.join(', ')} ms; on a processor ${kSlowdown} times slower it`);
        console.log(`is on the screen after ${shown.join(', ')} ms; script ${script} bytes, style ${style} bytes`);
        assert.ok(script <= kMostScript, `${script} bytes of script`);
    } finally {
        await browser.close();
        await site.close();
    }
});
