// Run by scripts/check-report in a page of 250 calls: says what is wrong with it, one fault per line.
(async () => {
  const form = document.querySelector('form');
  const faults = [];
  form.elements.open.click();
  const open = document.querySelectorAll('.call[open]').length;
  const said = form.elements.count.textContent;
  if (open !== 200) faults.push(`'Open all' opens ${open} calls instead of 200`);
  if (said !== '250 of 250 calls, the first 200 of them open') faults.push(`'Open all' says '${said}'`);
  return faults.join('\n');
})()
