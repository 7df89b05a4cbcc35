// Run by scripts/check-report in the page of its calls: says what is wrong with filters and trees, one fault per line.
(async () => {
  const faults = [];
  const form = document.querySelector('form');
  const calls = [...document.querySelectorAll('.call')];
  const check = (isRight, what) => { if (!isRight) faults.push(what); };
  const pause = (milliseconds) => new Promise((done) => setTimeout(done, milliseconds));
  const isShown = (element) => element.getClientRects().length > 0;
  const shown = () => calls.filter(isShown).length;

  async function go(fragment) {
    if (location.hash.slice(1) === fragment) return;
    const changed = new Promise((done) => addEventListener('hashchange', done, {once: true}));
    location.hash = fragment;
    await changed;
  }

  check(calls.length === 15, `there are ${calls.length} calls instead of 15`);
  const filters = [['', 15], ['outcome=ok', 8], ['outcome=failed', 7], ['outcome=time-out', 1], ['thread=dump', 2],
    ['thread=nobody', 0], ['outcome=error&text=onerror', 2], ['text=hello, GRÜSSE', 2],
    // What the page has besides the texts of the calls is not looked through.
    ['text=u003c', 0], ['text="tree"', 0], ['text=headerLine', 0]];
  for (const [fragment, count] of filters) {
    await go(fragment && encodeURI(fragment));
    const said = form.elements.count.textContent;
    check(shown() === count && said === `${count} of 15 calls`, `#${fragment}: ${count} wanted, ${shown()} shown, '${said}' said`);
  }

  const valuesIn = (name) => [...document.querySelectorAll('.tree .name')]
    .filter((element) => element.textContent === name && isShown(element))
    .map((element) => element.parentElement.querySelector('.value')?.textContent.trim());
  await go('thread=dump&open=all');
  check(valuesIn('methodName').includes('wait'), 'the trees of a dump are not shown');
  await go('outcome=error&open=all');
  check(valuesIn('errorText').some((text) => text?.startsWith('</script><script>document.title')),
    "the error's text is not in its tree");

  form.elements.close.click();
  check(document.querySelector('.call[open]') === null, "'Close all' leaves calls open");
  form.elements.text.value = 'grüsse';
  form.elements.outcome.value = 'ok';
  form.elements.text.dispatchEvent(new Event('input', {bubbles: true}));
  await pause(400);
  check(shown() === 2 && location.hash.includes('text=gr%C3%BCsse'), 'typing does not filter, or not the address');
  form.elements.reset.click();
  check(shown() === 15 && location.hash === '', "'No filter' leaves a filter");

  check(document.title === 'Trace of calls', 'what came over the wire has run as a script');
  return faults.join('\n');
})()
