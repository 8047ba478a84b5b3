"""A report in a real browser: headless Chromium, driven by Selenium."""
import json
import re
import tempfile
import urllib.parse

from selenium import webdriver
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.support.ui import WebDriverWait

OPTIONS = ("--headless --no-sandbox --disable-gpu --disable-quic --no-first-run --disable-background-networking "
           "--disable-component-update --disable-sync --window-size=1200,1000").split()


class Browser:
    def __enter__(self):
        self.profile = tempfile.TemporaryDirectory(prefix="annomend-browser-", ignore_cleanup_errors=True)
        options = webdriver.ChromeOptions()
        options.binary_location = "/usr/bin/chromium"
        options.arguments.extend([*OPTIONS, f"--user-data-dir={self.profile.name}"])
        options.set_capability("goog:loggingPrefs", {"browser": "ALL", "performance": "ALL"})
        self.driver = webdriver.Chrome(service=Service("/usr/bin/chromedriver"), options=options)
        self.ask = self.driver.execute_script
        return self

    def __exit__(self, *failure):
        self.driver.quit()
        self.profile.cleanup()

    def open(self, folder, filters=""):
        """Opens the page anew, as from a bookmark."""
        self.driver.get("about:blank")
        self.wait(filters, self.driver.get, (folder / "index.html").as_uri() + filters)

    def wait(self, filters, act=None, *arguments):
        """Acts, and waits until the rows of these filters are shown."""
        if act:
            act(*arguments)
        self.until(lambda: self.ask("return document.body.dataset.shown") == filters, f"rows of '{filters}'")

    def until(self, holds, what):
        WebDriverWait(self.driver, 20, 0.02).until(lambda _: holds(), what)

    def go(self, **filters):
        self.wait(address := "#" + urllib.parse.urlencode(filters), self.ask, "location.hash = arguments[0]", address)

    def texts(self, selector):
        return self.ask("return [...document.querySelectorAll(arguments[0])].map((e) => e.textContent)", selector)

    def table(self, title):
        """A table of totals: numbers by the last word of each row's first cell."""
        rows = self.ask("""const title = [...document.querySelectorAll("h2")].find((e) => e.textContent === arguments[0]);
            return [...title.parentElement.querySelectorAll("tbody tr, tfoot tr")].map((row) =>
              [...row.cells].map((cell) => cell.textContent))""", title)
        return {row[0].split()[-1]: [int(cell.split()[0].replace(",", "")) for cell in row[1:] if cell] for row in rows}

    def count(self):
        """How many rows pass the filters, as the page says."""
        return int(re.match(r"(?:Rows .* of )?(\d+|No row)", self.texts("#result")[0])[1].replace("No row", "0"))

    def requests(self):
        """What the browser asked for since the last call."""
        events = [json.loads(entry["message"])["message"] for entry in self.driver.get_log("performance")]
        return {event["params"]["request"]["url"] for event in events if event["method"] == "Network.requestWillBeSent"}

    def complaints(self):
        return [entry["message"] for entry in self.driver.get_log("browser")]
