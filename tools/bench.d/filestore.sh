# The file store: 2,000 files in 200 folders of the admin's store (20 at the
# top, 9 below each; 10 files in each), the tree at its root and at a folder
# two levels down, and the file list of a folder.
store="$tmp/site/user/admin"
python3 - "$store" <<'PY'
import os, sys
root = sys.argv[1]
for d in range(20):
    top = os.path.join(root, "d%02d" % d)
    for folder in [top] + [os.path.join(top, "s%d" % s) for s in range(9)]:
        os.makedirs(folder, exist_ok=True)
        for f in range(10):
            with open(os.path.join(folder, "file%02d.txt" % f), "w") as out:
                out.write("x" * 100)
PY
row "folder.asp (root)" /folder.asp sessions
row "folder.asp (2 levels down)" '/folder.asp?Folder=%5Cuser%5Cadmin%5Cd07%5Cs5' sessions
row "file.asp (10 files)" '/file.asp?Folder=%5Cuser%5Cadmin%5Cd07' sessions
