#!/usr/bin/env python3
"""Plays day.jsonl with kova-host against kova-collector, shows what happened, and checks that it all agrees.

usage: play.py BIN_DIR PICTURES_DIR [--window]

A picture of the screen after each step is left in PICTURES_DIR; with --window the day is played on the screen instead.
"""

import functools
import http.server
import json
import pathlib
import shutil
import subprocess
import sys
import tempfile
import threading

HERE = pathlib.Path(__file__).resolve().parent
TRAY = HERE.parent.parent / "Tests" / "Payloads"
failures = []


def check(holds: bool, claim: str) -> None:
    print(f"  {'ok  ' if holds else 'FAIL'} {claim}")
    if not holds:
        failures.append(claim)


def title(text: str) -> None:
    print(f"\n== {text}")


def shortened(line: str, width: int = 150) -> str:
    return line if len(line) <= width else f"{line[:width]}… ({len(line)} characters)"


def show_screen(answer: dict) -> None:
    """One answer of "screen" as text."""
    kind = answer["screen"]
    print(f"  +-- {answer.get('title') or kind} ({kind})")
    if kind == "list":
        for row in answer["rows"]:
            marker = " " if row["markerHidden"] else "●"
            print(f"  | {marker} {shortened(row['title'] or '', 40)} | {shortened(row['body'] or '', 60)}")
    elif kind == "detail":
        for name in ("title", "subtitle", "body"):
            print(f"  |   {shortened(answer['texts'][name]['text'] or '', 90)}")
        if answer["button"]["visible"]:
            print(f"  |   [ {answer['button']['title']} ]")
    elif kind == "alert":
        print(f"  |   {answer['message']}  " + "  ".join(f"[ {action['title']} ]" for action in answer["actions"]))
    elif kind == "host" and answer["badges"]["bar"]:
        print(f"  |   🔔 {answer['badges']['bar']['text']}")
    print("  +--")


class Pictures(http.server.SimpleHTTPRequestHandler):
    """The shop's web server: what pushes show is fetched from it."""

    def log_message(self, *_arguments) -> None:
        pass


def serve_pictures() -> http.server.ThreadingHTTPServer:
    server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), functools.partial(Pictures, directory=HERE / "Pictures"))
    threading.Thread(target=server.serve_forever, daemon=True).start()
    return server


def host(bin_dir: pathlib.Path, folder: pathlib.Path, base: str, script: str, name: str, *options: str | pathlib.Path) -> tuple[list[str], list[dict]]:
    """Runs kova-host over a script; returns its log lines and its answers."""
    answers = folder / f"{name}.answers"
    result = subprocess.run(
        [bin_dir / "kova-host", "--network", "simulated", "--data", folder / "data", "--bundle", HERE.parent / "Resources", "--answers", answers,
         "--events-url", f"{base}/v2/", "--metrics-url", f"{base}/v2/", "--geotriggers-url", f"{base}/v1/geotriggers/", *options, "-"],
        input=script, capture_output=True, text=True, check=False)
    if result.returncode != 0:
        sys.exit(f"kova-host ended with {result.returncode}: {result.stderr}")
    return result.stdout.splitlines(), [json.loads(line) for line in answers.read_text(encoding="utf-8").splitlines()]


def main() -> int:
    bin_dir, pictures = (pathlib.Path(argument) for argument in sys.argv[1:3])
    on_screen = sys.argv[3:] == ["--window"]
    drawing = ["--pause", "0.7"] if on_screen else ["--screenshot", pictures]
    shutil.rmtree(pictures, ignore_errors=True)
    server = serve_pictures()
    script = (HERE / "day.jsonl").read_text(encoding="utf-8").replace("@pictures@", f"http://127.0.0.1:{server.server_port}")
    pushed = [command["payload"] for command in map(json.loads, filter(lambda line: line.startswith("{"), script.splitlines()))
              if command["do"] == "push"]

    with tempfile.TemporaryDirectory(prefix="kova-demo-") as name:
        folder = pathlib.Path(name)
        received_log = folder / "received"
        collector = subprocess.Popen([bin_dir / "kova-collector", "--port", "0", "--log", received_log],
                                     stdout=subprocess.PIPE, text=True)
        try:
            base = collector.stdout.readline().removeprefix("listening on ").strip()
            title(f"The web service listens on {base}; the host plays {len(pushed)} pushes. Its log:")
            if on_screen:
                print("  (in the window; close it when the day is over and you have tried what you like)")
            log, answers = host(bin_dir, folder, base, script, "day", "--window", "--payloads", TRAY, *drawing)
            for line in log:
                print(f"  {shortened(line)}")

            title("The inbox, newest first, as a second process reads it from disk:")
            _, reread = host(bin_dir, folder, base, '{"do":"inbox"}\n', "reread")
        finally:
            collector.terminate()
            collector.wait(timeout=10)
        inbox = reread[-1]["inbox"]
        for record in inbox:
            read = "read  " if record["read"] else "unread"
            print(f"  {read} {record.get('notificationID')}  {record.get('title', '(no title)')} | {record.get('body', '(no body)')}")

        requests = [json.loads(line) for line in received_log.read_text(encoding="utf-8").splitlines()]
        bodies = [json.loads(request["body"]) for request in requests]
        metrics = [body for body in bodies if "metric" in body]
        events = [body for body in bodies if "type" in body]
        uploads = [request for request in requests if request["path"].startswith("/v1/geotriggers/")]
        saved = [answer["saved"] for answer in answers if "saved" in answer]
        before, after = (answer["buffer"] for answer in answers if "buffer" in answer)
        screens = [answer for answer in answers if "screen" in answer]
        title("What the user saw in the notification centre:")
        for screen in screens:
            show_screen(screen)

        title("What the web service received:")
        for request in requests:
            print(f"  {request['method']} {request['path']} {shortened(request['body'], 200)}")

        title("What did not arrive, and why:")
        for body in before[1:]:
            print(f"  {shortened(body, 200)}")
        print("  A release sends the oldest body once for each one that waits, and each delivery removes the oldest of the")
        print("  list: the others are removed unsent. That is contract.")

        title("Does it agree?")
        ids = [push.get("custom", push.get("os_data"))["i"] for push in pushed]
        evening, night = (answer for answer in answers if "inbox" in answer)
        check([record["notificationID"] for record in evening["inbox"]] == ids[::-1], f"all {len(ids)} pushes came into the inbox, the newest at index 0")
        check(evening["unread"] == len(ids), "none had been read by then")
        check(night["inbox"] == inbox, "both processes read the same inbox")
        check(sorted(metric["notificationId"] for metric in metrics) == sorted(ids), "one delivery metric arrived for each push")
        check(all(metric["metric"] == "delivery" for metric in metrics), "each says \"delivery\"")
        check(sum("playerId" in metric for metric in metrics) == len(ids) - 1, "each but the first carries the player id")
        check(all(request["headers"].get("Content-Type") == "application/json" for request in requests), "each is JSON")
        check(sum(line.startswith("Notification from storage :") for line in log) == len(ids), "the log shows the store once for each push")
        check("NOTIFICATIONS : Action: testaction" in log, "the log shows the pressed button")
        check(saved == [True] * 4 + [False], "four events were saved; the one that JSON cannot hold was refused")
        check(len(before) == 3 and after == [], "three events waited offline, none after the release")
        check([event["type"] for event in events] == ["page_view"] + ["cart_add_product"] * 3, "the online event arrived once, the oldest buffered one three times")
        check(all(event == json.loads(before[0]) for event in events[1:]), "what was released is what was kept, to the byte")
        check(["wifi", "unreachable", "wwan"] == [line.split()[-1] for line in log if line.startswith("NETWORK : Status:")], "the log follows the network")

        check({"geo-start": {"publicToken": "demo-geofencing-token", "completions": 1}} in answers, "the geofencing vendor was given the configured token, once")
        check({"geotriggers": {"handled": 3}} in answers, "all three geotriggers were marked handled, the broken one too")
        check(log.count("GEOTRIGGER : Entered handler") == 3 and log.count("GEOTRIGGER : handled geotrigger") == 1, "the log shows three geotriggers in one batch")
        check([answer["tag"] for answer in answers if "tag" in answer] == [{"city": "Recife"}], "no geotrigger became a tag: parsed JSON is never the bytes that the handler asks for, by contract")
        check([(upload["path"], upload["headers"].get("x-api-key"), json.loads(upload["body"])) for upload in uploads]
              == [("/v1/geotriggers/6f1c2a9e-player", "demo-api-key", {"loja": "Boa Viagem"})], "the one upload is the host's own, to this device's address, with the API key")
        check({"geo-upload": {"success": True}} in answers, "its completion got success")

        check([screen["screen"] for screen in screens] == ["host", "list", "detail", "alert", "list", "host"], "the centre was opened, read, asked and closed")
        check([row["markerHidden"] for row in screens[1]["rows"]] == [False] * len(ids), "every row had its unread marker")
        kept = [record for index, record in enumerate(evening["inbox"]) if index != 2]
        check([record["notificationID"] for record in inbox] == [record["notificationID"] for record in kept], "the entry that was deleted is gone, and no other")
        check([record["read"] for record in inbox] == [index == len(kept) - 1 for index in range(len(kept))], "the entry that was read is marked, and no other")
        detail = screens[2]
        check(detail["image"]["state"] == "image" and detail["button"]["visible"], "its picture was fetched, its link can be opened")
        check([screen["badges"]["bar"]["text"] for screen in (screens[0], screens[-1])] == [str(len(ids)), str(len(kept) - 1)], "the bell counts what is unread")

    if failures:
        print(f"\nDEMO FAILED: {len(failures)} of the checks above do not hold")
        return 1
    print(f"\nDEMO OK: {len(ids)} pushes delivered, stored, reported and read back by a second process; "
          f"{len(saved) - 1} events saved, online and offline; 3 geotriggers handled, {len(uploads)} upload received;\n"
          "one entry read and one deleted in the notification centre"
          + ("" if on_screen else f"\npictures of every step: {pictures}"))
    return 0


if __name__ == "__main__":
    sys.exit(main())
