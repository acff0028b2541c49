// What employees and those who decide do with the page, from the sign-in to the hours that change.
import assert from 'node:assert/strict';
import { after, before, test } from 'node:test';
import { axeFindings, open, openBrowser, signIn, text, tooWide, visit } from './browser.mjs';
import { Site, daysAgo, isoDate } from './site.mjs';

const kAna = 1;
const kLiveMs = 2000; // an event is on the page after so long
const kPatienceMs = 15000; // on a machine that has other things to do as well

const kPersonnelOffice = "select NAME from USER_ACCESS join page_role on page_role.IDP=USER_ACCESS.IDP where ROLE='hr'";

let site;
let browser;

before(async () => {
    site = await Site.open();
    browser = await openBrowser();
});
after(async () => {
    await browser?.close();
    await site?.close();
});

/** A session that ends with the test, which must leave no complaint in the console. */
function visitTest(name, run, options) {
    test(name, async () => {
        const page = await visit(browser, site.url, options);
        await run(page);
        assert.deepEqual(page.complaints, []);
        await page.context().close();
    });
}

/** A month with days that the company has no events for, and the first of its working days without hours. */
async function emptyWorkday(page, which = 0) {
    const month = isoDate(daysAgo(10)).slice(0, 7);
    await open(page, `#/month/${month}`);
    const rows = page.locator('tr.day.missing th a');
    const href = await rows.nth(which).getAttribute('href');
    return href.replace('#/day/', '');
}

const hoursOf = (page, date) => page.locator(`tr.day:has(a[href="#/day/${date}"]) td.hours`);

/** Of Ana, for a day on which nobody else asks. */
async function askForLeave() {
    const page = await visit(browser, site.url);
    await signIn(page, 'ana');
    await open(page, `#/new/leave/${await emptyWorkday(page, 3)}`);
    await page.getByRole('button', { name: 'Oddaj prošnjo' }).click();
    await page.locator('.request.open').waitFor();
    await page.context().close();
}

test('a wrong password is told, and the right one leads to the month', async () => {
    const page = await visit(browser, site.url);
    await page.fill('[name=user]', 'ana');
    await page.fill('[name=pass]', 'wrong');
    await page.click('form.login button');
    await page.getByRole('alert').waitFor();
    assert.match(await text(page, '[role=alert]'), /geslo ni pravilno/);
    assert.equal(await page.evaluate(() => document.activeElement.name), 'user');
    assert.equal(await page.inputValue('[name=pass]'), '');

    await signIn(page, 'ana');
    const now = new Date();
    const days = new Date(now.getFullYear(), now.getMonth() + 1, 0).getDate();
    assert.equal(await page.locator('tr.day').count(), days);
    assert.equal(await page.locator('tr.day.today').count(), 1);
    assert.match(await page.title(), new RegExp(String(now.getFullYear())));
    await page.reload();
    await page.locator('table.month').waitFor(); // the session goes on
    await page.getByRole('button', { name: 'Odjava' }).click();
    await page.locator('form.login').waitFor();
    await page.context().close();
});

visitTest('the neighbouring month comes without waiting, back and forward work', async (page) => {
    await signIn(page, 'ana');
    await page.waitForTimeout(500); // the neighbours are being fetched
    const before = await text(page, 'h1');
    await page.locator('a[rel=prev]').click();
    await page.waitForFunction((old) => document.querySelector('h1').innerText !== old, before);
    assert.equal(await page.locator('main .loading').count(), 0);
    assert.match(page.url(), /#\/month\/\d{4}-\d\d$/);
    await page.goBack();
    await page.waitForFunction((old) => document.querySelector('h1').innerText === old, before);
});

visitTest('a day is explained: its last sum is what the month has', async (page) => {
    await signIn(page, 'ana');
    const month = isoDate(daysAgo(50)).slice(0, 7);
    await open(page, `#/month/${month}`);
    const row = page.locator('tr.day.work.complete', { hasText: /zaokroženo/ }).first();
    const hours = (await row.locator('td.hours').innerText()).trim();
    const href = await row.locator('th a').getAttribute('href');
    await row.locator('th a').click();
    await page.locator('.account').waitFor();
    assert.equal(await page.evaluate(() => document.activeElement.id), 'title');
    assert.ok(page.url().endsWith(href));
    assert.match((await text(page, '.account .end .sum')).trim(), new RegExp(`^${hours}(:00)?$`));
    // The office's rules round down to five minutes, and say so with their setting.
    assert.match(await text(page, '.account'), /zaokroži navzdol na cele korake\s+SALDO\/WTROUNDTRH = 5\smin/);
    assert.equal((await page.locator('.timeline .lane.pairs span').count()) > 0, true);
});

visitTest('an arrival at a terminal shows within two seconds', async (page) => {
    await signIn(page, 'ana');
    await open(page, '#/presence');
    const person = page.locator('.people li', { hasText: /Novak Ana/ });
    assert.match(await person.innerText(), /ni tu/);
    const times = [];
    // A minute apart: of one second a departure is taken to come before an arrival.
    for (const [code, state, minutes] of [
        ['101:Prihod', 'in', 3],
        ['102:Odhod', 'out', 2],
        ['101:Prihod', 'in', 1],
    ]) {
        site.punch([kAna, code, new Date(Date.now() - minutes * 60000)]);
        const stored = Date.now();
        await page.locator(`.people li.${state}`, { hasText: /Novak Ana/ }).waitFor({ timeout: kPatienceMs });
        times.push(Date.now() - stored);
    }
    console.log(`on the page after ${times.join(', ')} ms`);
    assert.ok(times.sort((a, b) => a - b)[1] <= kLiveMs);
    await open(page, '#/month');
    await page.locator('.today-card.in').waitFor({ timeout: kPatienceMs });
    site.punch([kAna, '102:Odhod']);
    await page.locator('.today-card:not(.in)').waitFor({ timeout: kPatienceMs });
});

visitTest('a forgotten departure is asked for, approved, and changes the hours', async (page) => {
    await signIn(page, 'ana');
    const date = await emptyWorkday(page);
    site.punch([kAna, '101:Prihod', new Date(`${date}T08:00:10`)]);
    await page.locator(`tr.day.half:has(a[href="#/day/${date}"])`).waitFor();
    assert.match(await hoursOf(page, date).innerText(), /^0:00/);

    await open(page, `#/day/${date}`);
    assert.match(await text(page, '.gaps'), /Manjka odhod po prihodu ob 8:00/);
    await page.getByRole('link', { name: 'Pozabljen odhod' }).click();
    assert.equal(await page.inputValue('[name=date]'), date);
    assert.equal(await page.inputValue('[name=code]'), '102');
    await page.fill('[name=time]', '16:00');
    await page.fill('[name=why]', '<img src=x onerror=alert(1)> kartica'); // text, whatever it looks like
    await page.getByRole('button', { name: 'Oddaj prošnjo' }).click();
    await page.locator('.request.open').waitFor();
    assert.equal(await page.locator('.request img').count(), 0);

    const [{ DEPARTMENT: department }] = site.query(`select DEPARTMENT from employees where ID=${kAna}`);
    const boss = await visit(browser, site.url);
    await signIn(boss, site.supervisorOf(department));
    await open(boss, '#/requests/open');
    assert.match(await text(boss, '.request .reason'), /<img src=x onerror=alert\(1\)> kartica/);
    await boss.getByRole('button', { name: /^Odobri/ }).click();
    await boss.locator('.empty').waitFor();
    assert.deepEqual(boss.complaints, []);
    await boss.context().close();

    await page.locator('.request.approved').waitFor({ timeout: kPatienceMs });
    await open(page, `#/month/${date.slice(0, 7)}`);
    // 7:59:50, rounded down to five minutes
    await hoursOf(page, date).filter({ hasText: '7:55' }).waitFor({ timeout: kPatienceMs });
    await open(page, `#/day/${date}`);
    await page.locator('.requests', { hasText: 'odobreno: ' }).waitFor({ timeout: kPatienceMs });
    assert.match(await text(page, '.events'), /vnos: Novak Ana/);
});

visitTest('a refusal needs a reason, which is told; an open request can be withdrawn', async (page) => {
    await signIn(page, 'ana');
    const date = await emptyWorkday(page, 1);
    const ask = async () => {
        await open(page, `#/new/leave/${date}`);
        await page.getByRole('button', { name: 'Oddaj prošnjo' }).click();
        await page.locator('.request.open').first().waitFor();
    };
    await ask();
    await page
        .getByRole('button', { name: /^Umakni/ })
        .first()
        .click();
    await page.locator('.request.withdrawn').waitFor();
    await ask();
    await open(page, `#/new/leave/${date}`);
    await page.getByRole('button', { name: 'Oddaj prošnjo' }).click();
    await page.getByText('Za ta čas že obstaja prošnja.').waitFor();
    await open(page, '#/requests');

    const [{ NAME: hr }] = site.query(kPersonnelOffice);
    const office = await visit(browser, site.url);
    await signIn(office, hr);
    await open(office, '#/requests/open');
    await office.getByRole('button', { name: /^Zavrni/ }).click();
    await office.waitForFunction(() => document.activeElement.name === 'note');
    await office.getByRole('button', { name: 'Zavrni', exact: true }).click();
    assert.equal(await office.locator('.request.open').count(), 1); // without a reason nothing happens
    await office.fill('[name=note]', 'Inventura');
    await office.getByRole('button', { name: 'Zavrni', exact: true }).click();
    await office.locator('.empty').waitFor();
    await page.getByText('Inventura').waitFor({ timeout: kPatienceMs });

    // The same office sees who needs looking at, and from there the day itself.
    const month = date.slice(0, 7);
    await open(office, `#/department/${month}`);
    const first = office.locator('.people-table tbody tr').first();
    assert.match(await first.getAttribute('class'), /urgent/);
    const told = await office.locator('.people-table details').evaluateAll((all) =>
        all.map((each) => {
            const numbers = [...each.querySelectorAll('summary .chip')].map((chip) => parseInt(chip.textContent, 10));
            return [numbers.reduce((sum, number) => sum + number, 0), each.querySelectorAll('li').length];
        }),
    );
    for (const [sum, listed] of told) assert.equal(sum, listed); // nothing is counted twice
    await first.locator('summary').click();
    await first.locator('.exceptions a').first().click();
    await office.locator('.person').waitFor();
    assert.deepEqual(office.complaints, []);
    await office.context().close();
});

visitTest(
    'English from the browser, kept over a reload when it was chosen',
    async (page) => {
        await page.getByRole('heading', { name: 'Sign in' }).waitFor();
        await signIn(page, 'ana');
        assert.equal(await page.locator('html').getAttribute('lang'), 'en');
        await page.getByRole('link', { name: 'Who is here' }).waitFor();
        await page.getByRole('button', { name: 'Slovenščina' }).click();
        await page.getByRole('link', { name: 'Kdo je tu' }).waitFor();
        await page.reload();
        await page.getByRole('link', { name: 'Kdo je tu' }).waitFor();
    },
    { locale: 'en-GB' },
);

visitTest('by keyboard alone', async (page) => {
    const focusIs = (name) =>
        page.waitForFunction((wanted) => document.activeElement?.textContent.includes(wanted), name);
    await page.locator('[name=user]').focus();
    await page.keyboard.type('ana');
    await page.keyboard.press('Tab');
    await page.keyboard.type('ana');
    await page.keyboard.press('Enter');
    await page.locator('table.month').waitFor();
    assert.equal(await page.evaluate(() => document.activeElement.id), 'title');
    await page.reload(); // the focus is at the beginning
    await page.locator('table.month').waitFor();
    await page.keyboard.press('Tab');
    await focusIs('Na vsebino');
    await page.keyboard.press('Enter');
    assert.equal(await page.evaluate(() => document.activeElement.id), 'title');
    await page.keyboard.press('Tab'); // the months before and after
    await page.keyboard.press('Enter');
    await page.waitForFunction(() => /#\/month\/\d/.test(location.hash));
    assert.equal(await page.evaluate(() => document.activeElement.rel), 'prev'); // the focus stays where it was
    while (!(await page.evaluate(() => document.activeElement.closest('tr.day')))) await page.keyboard.press('Tab');
    await page.keyboard.press('Enter');
    await page.locator('.account, .gaps').first().waitFor();
    assert.equal(await page.evaluate(() => document.activeElement.id), 'title');
    // Whatever has the focus can be seen.
    await page.keyboard.press('Tab');
    assert.notEqual(await page.evaluate(() => getComputedStyle(document.activeElement).outlineStyle), 'none');
});

const kBegins = { 'text/csv; charset=utf-8': '\ufeff', 'application/pdf': '%PDF-' };

visitTest('what is on the screen can be had as a file, and the papers of the month', async (page) => {
    await signIn(page, 'jure7'); // a supervisor
    const month = isoDate(daysAgo(40)).slice(0, 7);
    const files = { month: 4, presence: 1, balance: 1, requests: 1, department: 5 };
    for (const [view, count] of Object.entries(files)) {
        await open(page, view === 'month' || view === 'department' ? `#/${view}/${month}` : `#/${view}`);
        const isThere = (wanted) => document.querySelectorAll('a[download]').length === wanted;
        await page.waitForFunction(isThere, count, { timeout: 10000 });
        const urls = await page.locator('a[download]').evaluateAll((links) => links.map(({ href }) => href));
        for (const url of urls) {
            const [status, type, text] = await page.evaluate(async (from) => {
                const response = await fetch(from);
                const bytes = await response.arrayBuffer();
                const decoder = new TextDecoder('utf-8', { ignoreBOM: true });
                return [response.status, response.headers.get('content-type'), decoder.decode(bytes)];
            }, url);
            assert.equal(status, 200, url);
            assert.equal(type.includes('pdf'), /\.pdf\?/.test(url), url);
            assert.ok(text.startsWith(kBegins[type]) && text.includes('\n'), url);
        }
    }
});

/** Every view, as the personnel office has them. */
async function views(page) {
    const date = await emptyWorkday(page, 2);
    const worked = isoDate(daysAgo(40));
    return [
        '#/month',
        `#/month/${worked.slice(0, 7)}`,
        `#/day/${worked}/${kAna}`,
        `#/day/${date}`,
        '#/presence',
        '#/balance',
        '#/requests',
        '#/requests/open',
        '#/requests/decided',
        `#/new/punch/${date}/102`,
        '#/new/leave',
        `#/department/${worked.slice(0, 7)}`,
    ];
}

for (const colorScheme of ['light', 'dark']) {
    for (const [width, height] of [
        [360, 740],
        [1280, 900],
    ]) {
        const options = { colorScheme, viewport: { width, height } };
        test(`every view at ${width} px, ${colorScheme}: accessible, and no wider than the screen`, async () => {
            const page = await visit(browser, site.url, options);
            const found = (await axeFindings(page)).map((line) => `sign-in ${line}`);
            const [{ NAME: hr }] = site.query(kPersonnelOffice);
            await signIn(page, hr);
            for (const hash of await views(page)) {
                await open(page, hash);
                found.push(...(await axeFindings(page)).map((line) => `${hash} ${line}`));
                const wide = await tooWide(page);
                if (wide > 0) found.push(`${hash} is ${wide} px too wide`);
            }
            assert.deepEqual(found, []);
            assert.deepEqual(page.complaints, []);
            await page.context().close();
        });
    }
}

visitTest(
    'no width at which something is cut off',
    async (page) => {
        const [{ NAME: hr }] = site.query(kPersonnelOffice);
        await signIn(page, hr);
        const waiting = page.locator('.views .badge');
        if (!(await waiting.count())) await askForLeave();
        await waiting.waitFor({ timeout: kPatienceMs }); // it takes room too
        const wide = [];
        for (const hash of ['#/month', `#/department/${isoDate(daysAgo(40)).slice(0, 7)}`]) {
            await open(page, hash);
            for (let width = 320; width <= 1400; width += 16) {
                await page.setViewportSize({ width, height: 900 });
                if ((await tooWide(page)) > 0) wide.push(`${hash} at ${width} px`);
            }
        }
        assert.deepEqual(wide, []);
    },
    { locale: 'en-GB' }, // the longer words
);

test('a lost connection is told, and comes back by itself', async () => {
    const page = await visit(browser, site.url);
    await signIn(page, 'ana');
    await site.stopPage();
    await page.locator('.banner.lost').waitFor();
    assert.equal(await page.locator('table.month').count(), 1); // what was there stays
    await site.startPage();
    await page.locator('form.login').waitFor(); // sessions end with the program
    assert.match(await text(page, '[role=alert]'), /Seja je potekla/);
    await signIn(page, 'ana');
    await page.locator('table.month').waitFor();
    await page.context().close();
});
