; A function leads back to the start after three steps, and after five. Does it stand still there?
(set-logic QF_UF)
(declare-sort Place 0)
(declare-fun next (Place) Place)
(declare-const start Place)
(assert (= start (next (next (next start)))))
(assert (= start (next (next (next (next (next start)))))))
(assert (not (= start (next start))))
(check-sat)
