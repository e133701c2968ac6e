; Is a sine never more than 1? "sin" is no word of the standard. A solver may know it and still have
; no procedure for it; then it answers "unknown" at once.
(set-logic ALL)
(declare-const x Real)
(assert (> (sin x) 1.5))
(check-sat)
