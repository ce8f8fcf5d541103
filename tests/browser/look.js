// node look.js PAGE [FOLDER]: opens a page in Chromium, wide and narrow, light and dark, and prints it. Nothing may be
// asked for but the page itself, nothing said on the console, no script be there, nothing lie outside of the window or of its
// cell. With a folder the pictures and the PDF go there. What is wrong is told, and the exit code is 1.
const puppeteer = require('puppeteer-core');
const path = require('path');
const { pathToFileURL } = require('url');

const [page, folder] = process.argv.slice(2);
const address = pathToFileURL(path.resolve(page)).href;
const name = path.basename(page, '.html');

// Runs in the page.
function outside() {
    const found = [];
    if (document.scripts.length !== 0) found.push('a script');
    if (document.documentElement.scrollWidth > innerWidth) found.push(`${document.documentElement.scrollWidth} wide`);
    for (const cell of document.querySelectorAll('td, th, dd, h1')) {
        const box = cell.getBoundingClientRect();
        const room = getComputedStyle(cell).overflowX === 'hidden' ? Infinity : box.right + 1;
        for (const part of cell.querySelectorAll('bdi, b')) {
            if (part.getBoundingClientRect().right > room) found.push(`outside of its cell: ${part.textContent.slice(0, 60)}`);
        }
    }
    return found;
}

(async () => {
    const browser = await puppeteer.launch({ executablePath: '/usr/bin/chromium', args: ['--no-sandbox'] });
    const wrong = [];
    for (const width of [1280, 400]) {
        for (const scheme of ['light', 'dark']) {
            const tab = await browser.newPage();
            tab.on('console', (message) => wrong.push(`console: ${message.text()}`));
            tab.on('pageerror', (error) => wrong.push(`error: ${error}`));
            tab.on('dialog', (dialog) => { wrong.push(`dialog: ${dialog.message()}`); dialog.dismiss(); });
            tab.on('request', (request) => { if (request.url() !== address) wrong.push(`asked for ${request.url()}`); });
            await tab.setViewport({ width, height: 900 });
            await tab.emulateMediaFeatures([{ name: 'prefers-color-scheme', value: scheme }]);
            await tab.goto(address);
            wrong.push(...(await tab.evaluate(outside)).map((what) => `${width} ${scheme}: ${what}`));
            if (folder) await tab.screenshot({ path: path.join(folder, `${name}-${width}-${scheme}.png`), fullPage: true });
            const pdf = await tab.pdf({ format: 'A4', margin: { top: '15mm', bottom: '15mm', left: '15mm', right: '15mm' } });
            if (pdf.length < 1000) wrong.push('no PDF');
            if (folder) require('fs').writeFileSync(path.join(folder, `${name}.pdf`), pdf);
            await tab.close();
        }
    }
    await browser.close();
    for (const one of new Set(wrong)) console.log(one);
    process.exit(wrong.length === 0 ? 0 : 1);
})().catch((error) => { console.error(String(error)); process.exit(1); });
