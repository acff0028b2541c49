// A demo company with the server and the page's program on it, in a folder of its own.
// The programs are those of the build: ZUK_BIN is their folder.
import { execFileSync, spawn } from 'node:child_process';
import { once } from 'node:events';
import { copyFileSync, mkdtempSync, rmSync, writeFileSync } from 'node:fs';
import { connect, createServer } from 'node:net';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { setTimeout as sleep } from 'node:timers/promises';

const kRpcPort = 3501;
const kStartMs = 60000;
/** So many days up to today have no events, so that a test can say what happens on them. */
const kEmptyDays = 20;

const bin = process.env.ZUK_BIN;
const environment = { ...process.env, TZ: 'Europe/Ljubljana' };

export const isoDate = (date) =>
    `${date.getFullYear()}-${String(date.getMonth() + 1).padStart(2, '0')}-${String(date.getDate()).padStart(2, '0')}`;

export function daysAgo(days) {
    const date = new Date();
    date.setHours(12, 0, 0, 0);
    date.setDate(date.getDate() - days);
    return date;
}

async function freePort() {
    const server = createServer().listen(0, '127.0.0.1');
    await once(server, 'listening');
    const { port } = server.address();
    server.close();
    await once(server, 'close');
    return port;
}

const listens = (port) =>
    new Promise((resolve) => {
        const socket = connect(port, '127.0.0.1');
        socket.on('connect', () => resolve(true)).on('error', () => resolve(false));
        socket.on('connect', () => socket.destroy());
    });

async function untilListening(port, name, child) {
    for (const end = Date.now() + kStartMs; Date.now() < end; await sleep(100)) {
        if (await listens(port)) return;
        if (child.exitCode !== null) break;
    }
    throw new Error(`${name} does not listen on port ${port}:\n${child.said.join('')}`);
}

function start(program, args, folder) {
    const child = spawn(program, args, { cwd: folder, env: environment, stdio: ['ignore', 'pipe', 'pipe'] });
    child.said = [];
    for (const stream of [child.stdout, child.stderr]) stream.on('data', (data) => child.said.push(data.toString()));
    return child;
}

async function stop(child) {
    if (!child || child.exitCode !== null) return;
    child.kill('SIGTERM');
    await once(child, 'exit');
}

export class Site {
    /** `emptyDays` without events, up to today. */
    static async open({ employees = 20, months = 3, emptyDays = kEmptyDays } = {}) {
        const site = new Site();
        site.folder = mkdtempSync(join(tmpdir(), 'zuk-page-'));
        site.database = join(site.folder, 'zuknetserver.db');
        site.run(
            'demodata',
            '--employees',
            employees,
            '--months',
            months,
            '--end',
            isoDate(daysAgo(emptyDays)),
            '--seed',
            1,
            '--output',
            site.database,
        );
        // The server keeps its state beside its executable.
        copyFileSync(join(bin, 'zuk3server'), join(site.folder, 'zuk3server'));
        const webPort = await freePort();
        writeFileSync(join(site.folder, 'ZUKSERW.INI'), `[WEBS]\nPORT=${webPort}\n`);
        site.server = start(join(site.folder, 'zuk3server'), ['-d'], site.folder);
        await untilListening(kRpcPort, 'zuk3server', site.server);
        site.port = await freePort();
        site.url = `http://127.0.0.1:${site.port}/`;
        await site.startPage();
        return site;
    }

    async startPage() {
        this.page = start(
            join(bin, 'zukpage'),
            ['--listen', `127.0.0.1:${this.port}`, '--database', this.database],
            this.folder,
        );
        await untilListening(this.port, 'zukpage', this.page);
    }

    stopPage = () => stop(this.page);

    async close() {
        await stop(this.page);
        await stop(this.server);
        rmSync(this.folder, { recursive: true, force: true });
    }

    run(program, ...args) {
        return execFileSync(join(bin, program), args.map(String), {
            cwd: this.folder,
            env: environment,
            encoding: 'utf8',
        });
    }

    /** Events as a terminal sends them, [employee, access code, Date or nothing for now]. */
    punch(...events) {
        const given = events.flatMap(([employee, code, date]) => [
            '--event',
            [employee, code, ...(date ? [Math.floor(date / 1000)] : [])].join(','),
        ]);
        this.run('zukterm', '--number', 1, '--once', ...given);
    }

    query = (sql) => JSON.parse(this.run('zukadmin', 'query', sql, '--json'));

    /** The user name of who decides over the department; the demo's passwords of these are their names. */
    supervisorOf(department) {
        const [row] = this.query(
            `select NAME from USER_ACCESS join page_role on page_role.IDP=USER_ACCESS.IDP
            where page_role.ROLE='supervisor' and page_role.DEPARTMENT='${department}'`.replace(/\s+/g, ' '),
        );
        return row.NAME;
    }
}
