#!/usr/bin/python3
"""Tests the stage page in Chromium, and its server with hostile requests."""

import json
import shlex
import socket
import time
import unittest
import urllib.request

from selenium import webdriver
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys

from Support import TIMEOUT, Folder, ShowHost, showremote, wait_until
from zentravox import App, FpController

HOST, PORT = "127.0.0.161", 25512
PAGE = f"http://{HOST}:{PORT}/"
UPGRADE = "Upgrade: websocket\r\nConnection: Upgrade\r\nSec-WebSocket-Version: 13\r\nSec-WebSocket-Key: AAAAAAAAAAAAAAAAAAAAAA==\r\n"
OPTIONS = ["--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage", "--no-proxy-server", "--no-first-run",
           "--disable-background-networking", "--disable-component-update", "--disable-sync"]


def start_host(folder, *options):
    return ShowHost(HOST, folder, "--page", f"{HOST}:{PORT}", *options)


class ServerTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.enterClassContext(start_host(cls.enterClassContext(Folder()), "--quiet"))

    def ask(self, target="/", fields="", method="GET", host=f"{HOST}:{PORT}"):
        """Sends a request and returns the status, the head and the body of the reply."""
        with socket.create_connection((HOST, PORT), TIMEOUT) as connection:
            connection.sendall(f"{method} {target} HTTP/1.1\r\nHost: {host}\r\n{fields}\r\n".encode())
            reply = b""
            while b"\r\n\r\n" not in reply and (part := connection.recv(65536)):
                reply += part
            head, _, body = reply.partition(b"\r\n\r\n")
            while b"101 " not in head[:13] and (part := connection.recv(65536)):
                body += part
        return int(head.split()[1]), head.decode(), body

    def test_the_page_and_its_data_are_served_with_a_strict_policy(self):
        for target, kind in (("/", "text/html"), ("/app.js", "text/javascript"), ("/stage.jpg", "image/jpeg"),
                             ("/contract.json", "application/json"), ("/metrics", "text/plain")):
            status, head, body = self.ask(target)
            self.assertEqual(status, 200, target)
            self.assertIn(f"Content-Type: {kind}", head)
            self.assertIn("Content-Security-Policy: default-src 'none'; script-src 'self';", head)
            self.assertIn("nosniff", head)
            self.assertIn("Cache-Control: no-store", head)
            self.assertEqual(len(body), int(head.lower().split("content-length: ")[1].split()[0]))
        self.assertEqual(self.ask(method="HEAD")[::2], (200, b""))

    def test_other_requests_are_refused(self):
        origin = f"Origin: http://{HOST}:{PORT}\r\n"
        self.assertEqual(self.ask("/live", UPGRADE + origin)[0], 101)
        for expected, request in {
            403: [dict(host="evil.example"), dict(host=f"evil.example:{PORT}"), dict(host="127.0.0.1:25512"),
                  dict(target="/live", fields=UPGRADE), dict(target="/live", fields=UPGRADE + "Origin: http://evil.example\r\n"),
                  dict(target="/live", fields=UPGRADE + "Origin: null\r\n")],
            404: [dict(target="/../showhost"), dict(target="/etc/passwd"), dict(target="/%2e%2e/app.js"), dict(target="//app.js"),
                  dict(target="/app.js?x"), dict(target="/scene.jpg?group=x&scene=y"), dict(target="http://evil.example/none")],
            405: [dict(method=method) for method in ("POST", "PUT", "DELETE", "OPTIONS", "TRACE", "get")],
            400: [dict(fields="Content-Length: 5\r\n"), dict(fields="Transfer-Encoding: chunked\r\n"), dict(fields="Host: again\r\n"),
                  dict(fields=" folded\r\n"), dict(target="/ /"), dict(fields="no colon\r\n")],
            426: [dict(target="/live")],
            431: [dict(fields="X: " + "x" * 17000 + "\r\n")],
        }.items():
            for one in request:
                self.assertEqual(self.ask(**one)[0], expected, one)

    def test_connections_are_limited_and_freed_again(self):
        for _ in range(33):  # a browser that opens the page again and again
            self.assertEqual(self.ask("/live", UPGRADE + f"Origin: http://{HOST}:{PORT}\r\n")[0], 101)
        idle = [socket.create_connection((HOST, PORT), TIMEOUT) for _ in range(32)]
        time.sleep(0.2)
        self.assertEqual(self.ask()[0], 503)
        for connection in idle:
            connection.close()
        wait_until(lambda: self.ask()[0] == 200, "a connection becomes free")

    def test_metrics_count_requests_and_refusals(self):
        urllib.request.urlopen(PAGE + "metrics").close()  # with --quiet, counting starts here
        showremote("app", "--host", HOST, "scene-play", '{"sceneCol": 99}')
        with urllib.request.urlopen(PAGE + "metrics") as reply:
            text = reply.read().decode()
        self.assertIn('showhost_refused_requests_total{channel="app control",name="scene-play"} 1', text)
        self.assertRegex(text, "showhost_request_seconds_sum [0-9][0-9.e-]*\nshowhost_request_seconds_count 1\n")
        family, families = "", set()
        for line in text.splitlines():  # each family is one block that starts with its help and its type
            if line.startswith("# HELP"):
                family = line.split()[2]
                self.assertNotIn(family, families)
                families.add(family)
            self.assertRegex(line, rf'^(# HELP {family} .+|# TYPE {family} (counter|gauge|histogram)|'
                                   rf'{family}(_bucket|_sum|_count)?({{(\w+="[^"\\]*",?)+}})? [-+.e\d]+)$')

    def test_a_port_in_use_is_reported_and_the_host_runs_without_the_page(self):
        other = "127.0.0.162"
        with Folder() as state, ShowHost(other, state, "--page", f"{HOST}:{PORT}") as host:
            self.assertIn(f"showhost: no stage page at {HOST}:{PORT}: The bound address is already in use", host.lines)
            self.assertEqual(showremote("app", "--host", other, "heartbeat").returncode, 0)


class BrowserTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.state = cls.enterClassContext(Folder())
        options = webdriver.ChromeOptions()
        options.binary_location = "/usr/bin/chromium"
        for option in OPTIONS:
            options.add_argument(option)
        options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
        cls.driver = webdriver.Chrome(service=Service("/usr/bin/chromedriver"), options=options)
        cls.addClassCleanup(cls.driver.quit)
        cls.driver.execute_cdp_cmd("Browser.grantPermissions", {"permissions": ["clipboardReadWrite", "clipboardSanitizedWrite"]})

    def setUp(self):
        self.host = self.enterContext(start_host(self.state, "--fp", f"{HOST}:25510"))
        self.driver.get("about:blank")
        self.driver.get_log("browser")  # forgets requests that the end of the previous host interrupted
        self.open("Stage")

    def tearDown(self):
        log = [entry["message"] for entry in self.driver.get_log("browser") if entry["level"] in ("SEVERE", "WARNING")]
        self.assertEqual([line for line in log if "ERR_CONNECTION_REFUSED" not in line], [])

    def open(self, view):
        self.driver.get(PAGE + "#" + view)
        self.wait_for("header .good")

    def all(self, selector):
        return self.driver.find_elements(By.CSS_SELECTOR, selector)

    def wait_for(self, selector, text=""):
        """Waits until an element that matches the selector contains the text, and returns it."""
        def found():
            return self.driver.execute_script(
                "return [...document.querySelectorAll(arguments[0])].find(e => e.textContent.includes(arguments[1]))", selector, text)
        wait_until(found, f"{selector} with {text!r}")
        return found()

    def click(self, selector, text=""):
        self.wait_for(selector, text).click()

    def copied_command(self):
        self.click("button", "Copy as command")
        self.wait_for("button", "Copied")
        return shlex.split(self.driver.execute_async_script("navigator.clipboard.readText().then(arguments[0])"))[1:]

    def remote(self, *arguments):
        result = showremote(*arguments[:1], "--host", HOST, *arguments[1:])
        self.assertEqual(result.returncode, 0, result.stderr)
        return result.stdout

    def enter(self, selector, text):
        self.driver.execute_script("const [e, text] = arguments; e.value = text; e.dispatchEvent(new Event('input', {bubbles: true}))",
                                   self.wait_for(selector), text)

    def choose(self, selector, option):
        self.click(f"{selector} option", option)

    def modules(self, script):
        """Runs a script with the page's modules and returns what it returns."""
        return self.driver.execute_async_script(
            "const names = ['ui', 'schema', 'records'];"
            "Promise.all(names.map(n => import(`/${n}.js`))).then(m => ((ui, schema, modules) => {" + script + "})(...m))"
            ".then(arguments[0], e => arguments[0](String(e)))")

    def picture(self):
        return self.driver.execute_script("const i = document.querySelector('.picture img'); return i && i.complete && i.src")

    def test_the_stage_shows_and_makes_changes(self):
        wait_until(self.picture, "the picture")
        before = self.picture()
        self.remote("app", "scene-play", '{"sceneGrpCol": 1, "sceneCol": 2}')
        wait_until(lambda: self.picture() not in (None, False, before), "another picture")
        self.wait_for(".state.good", "playing")
        before = self.picture()
        self.remote("central", "globalVolume", '{"param": 40}')
        self.wait_for("output", "40 %")
        self.click("button", "Mute")
        self.wait_for("button[aria-pressed=true]", "Mute")
        self.assertIn('"mute"', self.remote("central", "globalMuteState"))
        self.host.wait_for_line(lambda line: "host: PC: mute (0x199): SUCCESS" in line, "the command with its source")
        self.assertEqual(self.picture(), before, "volume and mute don't change the picture")

    def test_each_control_of_the_stage_has_its_own_effect(self):
        self.wait_for(".screen")
        self.assertEqual([[box.text, box.get_attribute("style")] for box in self.all(".screen")], [
            ["LED wall · open", "left: 0%; top: 0%; width: 78.0488%; height: 56.25%;"],
            ["Lobby · open", "left: 78.0488%; top: 0%; width: 21.9512%; height: 100%;"],
            ["Prompter · closed", "left: 0%; top: 56.25%; width: 19.5122%; height: 28.125%;"]])
        for text in ("LED wall 3840 × 1080 open, state 1", "1280 × 800 open, state 0, not on the stage, not usable"):
            self.assertIn(text, self.wait_for(".screens").text)
        begin = time.monotonic()
        for button, selector, text in (
                ("Pause", ".state", "paused"), ("Play", ".state.good", "playing"), ("Stop", ".state", "stopped"),
                ("Restart", ".state.good", "playing"), ("Previous", ".problem", "play-next-or-last: "),
                ("Next", ".scene strong", "Twenty minutes"), ("Previous", ".scene strong", "Doors open"),
                ("Close all", ".screen", "LED wall · closed"), ("Open all", ".screens tr:nth-child(3)", "open, state 0"),
                ("Black screen", "[aria-pressed=true]", "Black screen"), ("HDR", "[aria-pressed=false]", "HDR")):
            self.click("button", button)
            self.wait_for(selector, text)
        minutes, seconds = map(int, self.wait_for("time").text.split(":"))
        self.assertLess(minutes * 60 + seconds, time.monotonic() - begin, "the scene started after the first click")
        self.enter(".slider:nth-of-type(2) input", "70")
        wait_until(lambda: "70" in self.remote("central", "getGlobalBrightness"), "the brightness of the slider")
        self.choose("[aria-label='Open project']", "Matinée")
        self.wait_for(".scene", "The parade")

    def test_a_click_on_a_scene_plays_it_in_both_of_two_pages(self):
        self.driver.switch_to.new_window("tab")
        self.open("Stage")
        second, first = self.driver.current_window_handle, self.driver.window_handles[0]
        self.driver.switch_to.window(first)
        self.open("Scenes")
        name = self.all("button.card:not([aria-current]) .name")[0].text
        self.click("button.card", name)
        self.wait_for("button.card[aria-current]", name)
        self.assertEqual([card.text for card in self.all("[aria-current=true].card")], [f"{name}\n6 media\nplaying"])
        self.assertEqual([badge.find_element(By.XPATH, "..").text for badge in self.all(".small .bad")],
                         ["Season trailer\nVideo, 1920 × 1080 · 1:34\nnot ready"])
        self.assertTrue(0 < len(self.all(".small .good")) < 10)
        chapter = self.remote("central", "getPlayingChapter")
        self.assertIn('"sceneCol": 2,', chapter)
        self.assertIn('"sceneGrpCol": 1\n', chapter)
        self.driver.switch_to.window(second)
        self.wait_for(".scene strong", name)
        self.driver.close()
        self.driver.switch_to.window(first)

    def test_traffic_is_decoded_filtered_and_copied(self):
        name = "<script>alert(1)</script> \"'&"
        self.remote("app", "set-host-name", json.dumps({"name": name}))
        with App(HOST) as app:
            app.request("set-host-name", name="x" * 1_000_000)
            resource = app.request("resource-list")["resourceMgrData"][0]["resourceId"]
        showremote("app", "--host", HOST, "scene-play", '{"sceneCol": 99}')  # is refused
        self.open("Traffic?name=set-host-name&text=script")
        wait_until(lambda: len(self.all(".rows .row")) == 1, "the filter leaves one record")
        self.click(".rows .row")
        self.assertEqual(self.wait_for(".tree .string").text, f'"{name}"')
        command = self.copied_command()
        self.remote("app", "set-host-name", '{"name": "another"}')
        self.assertEqual(showremote(*command).returncode, 0)
        self.assertIn(json.dumps(name), self.remote("app", "host-name-and-version"))
        self.click("button", "Show the reply")
        self.wait_for(".details h2", "from the host")
        self.remote("central", "--raw", "getHDR")
        self.open("Traffic?channel=central+control&text=getHDR")
        self.click(".rows .row")
        self.assertEqual(self.copied_command(), ["central", "--host", HOST, "--raw", "getHDR"])
        saved = self.driver.execute_async_script("""
            HTMLAnchorElement.prototype.click = () => {};
            URL.createObjectURL = (file) => { file.text().then(arguments[0]); return ''; };
            [...document.querySelectorAll('button')].find((button) => button.textContent.startsWith('Save')).click();""")
        self.assertEqual([json.loads(line).get("text") for line in saved.splitlines()], [None, "getHDR"])
        self.open("Traffic?text=xxxxxxxx")
        self.click(".rows .row", "set-host-name")
        self.click("button", "Show all")
        self.wait_for(".tree .string", "x" * 1_000_000)
        self.click("button", "Copy as JSON")
        self.wait_for("button", "Copied")
        copied = json.loads(self.driver.execute_async_script("navigator.clipboard.readText().then(arguments[0])"))
        self.assertEqual({"n", "t", "body", "code"} - {*copied}, set())
        self.assertFalse({"request", "replies", "latency", "refused", "position"} & {*copied})
        self.click("button", "Raw")
        self.wait_for(".details pre", '{"name":"xxx')
        self.click("button", "Pretty")
        self.wait_for(".details pre", '{\n  "name": "xxx')
        self.open("Traffic?peer=127.0.0.1:&name=host-name-and-version")
        self.wait_for(".rows .row:nth-last-child(2)", "→")
        request, reply = (row.text.split("\n") for row in self.all(".rows .row")[-2:])
        self.assertEqual([request[2], request[-1], reply[2]], ["→", "ok", "←"])
        self.enter(".filter label:nth-of-type(2) input", "10.0.0.9")
        self.wait_for(".empty", "No record matches")
        self.open("Traffic?errors=true")
        self.wait_for(".rows .row", "scene-play")
        self.assertEqual({row.get_attribute("class") for row in self.all(".rows .row")}, {"row refused"})
        self.open("Traffic?slow=true")
        self.host.write_line('fault add {"channel": "app control", "action": "delay", "milliseconds": 300}')
        self.host.wait_for_line(lambda line: "added fault" in line, "the rule, before the request")
        self.remote("app", "heartbeat")  # the request is in the list before its reply arrives
        wait_until(lambda: sum("heartbeat" in row.text for row in self.all(".rows .row")) == 2, "the slow request and its reply")
        self.host.write_line("fault clear")
        self.remote("app", "resource-thumbnail", json.dumps({"resourceId": resource}))
        self.open("Traffic?channel=app+bulk")
        self.click(".rows .row", "resource-thumbnail")
        wait_until(lambda: self.driver.execute_script("return document.querySelector('img.shown')?.naturalWidth"), "the picture")

    def test_a_request_is_sent_and_answered(self):
        self.open("Send?channel=central+control&name=volume")
        self.wait_for("label.field", "param").find_element(By.TAG_NAME, "input").send_keys("33")
        self.click("button.main", "Send")
        self.wait_for(".reply", "SUCCESS")
        self.assertEqual(self.wait_for(".history pre").text, '{"cmd":"globalVolume","param":33}')
        self.choose("select", "app discovery")
        self.click("button.main", "Send")
        self.wait_for(".history h2", "App Server request Zentravox Controller")
        self.open("Send?channel=central+control&name=open-screens")
        self.choose(".field:nth-of-type(3) select", "CloseAllScreen")
        self.click("button.main", "Send")
        self.wait_for(".history pre", '"cmd":"CloseAllScreen"')
        self.open("Send?channel=app+control")
        self.click("button.main", "Send")
        self.wait_for(".history h2", "host-name-and-version on app control")
        self.open("Remotes")
        row = self.wait_for(".wide tr", "central control")
        wait_until(lambda: [cell.text for cell in row.find_elements(By.CLASS_NAME, "number")][:2] == ["2", "0"], "the requests and errors")
        with FpController(HOST) as controller, controller.accept() as link:
            self.open("Send?channel=FP&name=volume-state")
            self.wait_for("button.main:enabled", "Send").click()
            self.wait_for(".reply", "on FP after")
            self.assertTrue(link.receive(), "the controller receives the reply as well")
            self.open("Remotes")
            self.click("button[aria-label^='Disconnect FP']")
            self.wait_for("td", "disconnected by the host")
        self.open("Faults")
        self.choose(".field:nth-of-type(2) select", "heartbeat")
        self.enter("input[type=number]", "250")
        self.choose(".field:nth-of-type(6) select", "Nth")
        self.enter(".field:nth-of-type(7) input", "0")
        self.click("button.main", "Add rule")
        self.wait_for(".problem", "every")
        self.enter(".field:nth-of-type(7) input", "3")
        self.click("button.main", "Add rule")
        self.assertEqual(json.loads(self.wait_for("td.mono", "delay").text), {
            "channel": "app control", "action": "delay", "request": "heartbeat", "every": 3, "milliseconds": 250})
        self.click("button", "Remove")
        self.wait_for(".empty", "No rule is active")
        with App(HOST) as app:
            app.request("host-name-and-version")
            self.click("button", "Not ready")
            self.assertFalse(app.wait_for_notice("resource-demuxed").body["dexumerFlag"])

    def test_the_contract_describes_the_messages(self):
        self.open("Reference?name=volume")
        self.assertIn("param integer, -100 to 100", self.wait_for("section:not(.index)").text)
        self.enter("input[type=search]", "scene-thumb")
        wait_until(lambda: len(self.all(".index li")) == 1, "one message is found")
        self.assertEqual(self.modules("""
            const s = {properties: {a: {type: 'string'}, b: {enum: [1, 2]}}, required: ['a']};
            return [ui.clockText(3723456), ui.clockText(65000), ui.sizeText(999), ui.sizeText(1500), ui.sizeText(2.5e6),
                schema.typeText({type: 'integer', minimum: 1}), schema.typeText(s.properties.b), schema.typeText({const: 'x'}),
                schema.typeText({type: 'array', items: {type: 'string'}}), schema.resolved({allOf: [s]}).required,
                schema.bestSchema([{properties: {a: {}}}, s], {a: 1, b: 2}) === s,
                schema.propertyOf({patternProperties: {'^[0-9]+$': s}}, '17') === s]"""),
            ["1:02:03", "1:05", "999 B", "1.5 kB", "2.5 MB", "integer, from 1", "1 or 2", '"x"', "array of string", ["a"], True, True])

    def test_a_recording_is_read_and_written_again(self):
        self.assertEqual(self.modules("""
            const head = {recording: 1, started: '2024-05-01T18:00:00Z'}, request = {n: 1, t: 1, channel: 'FP', kind: 'message', size: 5};
            const reply = (n, replyTo, more) => ({n, t: 1.5, replyTo, from: 'host', kind: 'message', channel: 'app control', ...more});
            const records = [request, reply(2, 1, {text: 'COMMAND ERROR'}), reply(3, 9, {code: '0x003', body: {result: 0}}),
                reply(4, 9, {code: '0x003', body: {result: 2}}), reply(5, 9, {body: {errorMsg: 'SUCCESS'}}),
                reply(6, 9, {channel: 'cloud', body: {data: '{"errorMsg": "FAIL"}'}}), reply(7, 9, {text: 'hello'})];
            const text = [head, ...records].map(r => JSON.stringify(r) + '\\n').join('');
            const read = modules.readRecording(text), error = (text) => {
                try { modules.readRecording(text); return ''; } catch (e) { return e.message.split(':')[0]; } };
            return [modules.recordingText(read.header, read.list) === text, read.list.map(r => r.refused ?? null),
                read.list[0].latency, read.list[0].replies.length, read.bytes, error('{}'), error(text + '{')]"""),
            [True, [True, True, False, True, False, True, False], 0.5, 1, 5, "line 1", "line 9"])

    def test_a_recording_of_100000_records_scrolls_smoothly(self):
        header = {"recording": 1, "contract": "1.0.0", "program": "showhost 0.1.0", "started": "2024-05-01T18:00:00.000Z"}
        lines = [json.dumps(header)] + [json.dumps(
            {"n": n, "t": n / 1000, "channel": "app control", "connection": 1, "peer": "127.0.0.1:5000", "from": "remote",
             "kind": "message", "code": "0x105", "name": "volume", "size": 25, "body": {"param": n}}) for n in range(1, 100_001)]
        file = self.state / "long.jsonl"
        file.write_text("\n".join(lines) + "\n")
        self.open("Traffic")
        self.all("input[type=file]")[0].send_keys(str(file))
        self.wait_for(".rows .row[id=record-99999]")
        scroll = """
            const done = arguments[0], list = document.querySelector('.rows'), tasks = [0];
            new PerformanceObserver((all) => tasks.push(...all.getEntries().map((e) => e.duration))).observe({type: 'longtask'});
            let frames = 0;
            const step = () => {
                list.scrollTop = (frames * 7919 * 26) % (list.scrollHeight - 2000);
                if (++frames < 200) requestAnimationFrame(step);
                else done([Math.max(...tasks), frames, document.querySelectorAll('.rows .row').length]);
            };
            requestAnimationFrame(step);"""
        results = []
        # Other programs may delay some scrolls on a busy machine, but not each.
        wait_until(lambda: results.append(self.driver.execute_async_script(scroll)) or results[-1][0] < 200, "no task takes 200 ms")
        _, frames, rows = results[-1]
        self.assertEqual(frames, 200)
        self.assertLess(rows, 200)
        file.write_text(lines[0] + '\n{"n": "1"}\n')
        self.all("input[type=file]")[0].send_keys(str(file))
        self.wait_for(".problem", "long.jsonl: line 2: expected a record")

    def test_the_page_connects_again_when_the_host_has_restarted(self):
        for _ in range(10):  # the numbers of the records start again after the restart
            self.remote("app", "host-name-and-version")
        self.driver.find_element(By.LINK_TEXT, "Traffic").click()
        self.host.__exit__(None)
        self.wait_for("header .bad", "not connected")
        self.host = self.enterContext(start_host(self.state))
        self.wait_for("header .good", "connected")
        self.remote("app", "heartbeat")
        self.wait_for(".rows .row", "heartbeat")
        self.click(".rows .row:nth-child(3)")
        before = self.wait_for("[aria-selected=true]").get_attribute("id")
        self.wait_for(".rows").send_keys(Keys.ARROW_DOWN)
        self.wait_for(f"#{before} + [aria-selected=true]")
        self.click("button", "Clear")
        self.wait_for(".empty", "No message yet")


if __name__ == "__main__":
    unittest.main()
